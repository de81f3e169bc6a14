# Installs the headers that users of the Zip library include, and what those include in turn; nothing else.
# source_dir and include_dir are set before.
cmake_policy(VERSION 3.25)
set(open
  platform/text/TextFunctions.h
  zip/archive/ZipArchive.h
  zip/archive/ZipExtractor.h
  zip/extract/FileReader.h
  zip/extract/FileWriter.h
  zip/extract/RsrcForkReader.h
  zip/extract/RsrcForkWriter.h
  zip/records/FormatError.h
  zip/records/MemberExtents.h
  zip/records/ZipRecords.h)
set(found)
while(open)
  list(POP_FRONT open header)
  if(header IN_LIST found)
    continue()
  endif()
  list(APPEND found ${header})
  file(STRINGS ${source_dir}/${header} includes REGEX "^#include \"")
  list(TRANSFORM includes REPLACE "^#include \"(.*)\".*" "\\1")
  list(APPEND open ${includes})
  cmake_path(GET header PARENT_PATH folder)
  file(INSTALL ${source_dir}/${header} DESTINATION ${include_dir}/${folder})
endwhile()
