// Each verb of the tool puts itself on the command line; its work is done while that is parsed.
#pragma once

#include "tools/forkzip/cli/Problems.h"

namespace CLI {
class App;
}

namespace vantorel::forkzip {

void AddListVerb(CLI::App& app, ExitCode& exit_code);
void AddInfoVerb(CLI::App& app, ExitCode& exit_code);
void AddTestVerb(CLI::App& app, ExitCode& exit_code);
void AddExtractVerb(CLI::App& app, ExitCode& exit_code);
void AddCatVerb(CLI::App& app, ExitCode& exit_code);
void AddCreateVerb(CLI::App& app, ExitCode& exit_code);
void AddAddVerb(CLI::App& app, ExitCode& exit_code);
void AddDeleteVerb(CLI::App& app, ExitCode& exit_code);
void AddDuplicateVerb(CLI::App& app, ExitCode& exit_code);
void AddRenameVerb(CLI::App& app, ExitCode& exit_code);
void AddCommentVerb(CLI::App& app, ExitCode& exit_code);
void AddCompactVerb(CLI::App& app, ExitCode& exit_code);

}  // namespace vantorel::forkzip
