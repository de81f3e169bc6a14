#include "platform/run/Runtime.h"

#include <csignal>
#include <cstdio>
#include <string>
#include <system_error>

#include "platform/base/Exceptions.h"
#include "platform/run/EventLoop.h"
#include "platform/run/System.h"

namespace vantorel {

namespace {

int exit_value = 0;
Ref<Application> app_object;

std::string ProgramName() {
  const std::string& path = System::ExecutablePath();
  return path.substr(path.rfind('/') + 1);
}

}  // namespace

void RuntimeInit(int argc, char** argv) {
  System::KeepCommandLine(argc, argv);
  std::signal(SIGPIPE, SIG_IGN);
}

void _RuntimeRegisterAppObject(const Ref<Application>& app) {
  app_object = app;
}

Ref<Application> _GetAppObject() {
  return app_object;
}

void RuntimeRun() {
  try {
    app_object->Event_Open();
    EventLoop::Current().RunUntil([] { return false; });
  } catch (const EndException&) {
    // The application has quit; Quit has set the exit value.
  }
}

void Quit(std::int32_t code) {
  exit_value = code;
  throw EndException(code);
}

void RuntimeUnhandledException(const std::exception& fault) {
  exit_value = 1;
  std::string report = ProgramName() + ": cannot go on: " + fault.what() + "\n";
  for (const Failure& failure : FailuresBehind(fault)) {
    report += "  a likely cause: cannot " + failure.operation + " " + failure.path + ": " +
              std::generic_category().message(failure.error_number) + "\n";
  }
  std::fputs(report.c_str(), stderr);
}

std::vector<Failure> FailuresBehind(const std::exception& fault) {
  const bool through_nil = dynamic_cast<const NilObjectException*>(&fault) != nullptr;
  return through_nil ? RecentFailures() : std::vector<Failure>();
}

int RuntimeExit() {
  app_object = nil;
  return exit_value;
}

}  // namespace vantorel
