# Every target of this project links vl_warnings (private) to be held to the same warnings.
add_library(vl_warnings INTERFACE)
target_compile_options(vl_warnings INTERFACE -Wall -Wextra -Wshadow -Wconversion -Werror)
