// Each verb of the tool puts itself on the command line; its work is done while that is parsed.
#pragma once

namespace CLI {
class App;
}

namespace vantorel::forkzip {

void AddListVerb(CLI::App& app);
void AddInfoVerb(CLI::App& app);
void AddTestVerb(CLI::App& app);
void AddExtractVerb(CLI::App& app);
void AddCatVerb(CLI::App& app);
void AddCreateVerb(CLI::App& app);
void AddAddVerb(CLI::App& app);
void AddDeleteVerb(CLI::App& app);
void AddDuplicateVerb(CLI::App& app);
void AddRenameVerb(CLI::App& app);
void AddCommentVerb(CLI::App& app);
void AddCompactVerb(CLI::App& app);

}  // namespace vantorel::forkzip
