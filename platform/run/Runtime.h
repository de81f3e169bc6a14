// Entry and exit of a program that runs on the event loop, in the order of use:
//
//   int main(int argc, char** argv) {
//     RuntimeInit(argc, argv);
//     try {
//       _RuntimeRegisterAppObject(New<MyApplication>());
//       RuntimeRun();
//     } catch (const RuntimeException& fault) {
//       RuntimeUnhandledException(fault);
//     }
//     return RuntimeExit();
//   }
#pragma once

#include <cstdint>
#include <exception>
#include <vector>

#include "platform/base/Failures.h"
#include "platform/base/Ref.h"
#include "platform/run/Application.h"

namespace vantorel {

// Keeps the command line and readies the process: a connection that breaks while sending is an error of the
// socket, not the end of the process (SIGPIPE).
void RuntimeInit(int argc, char** argv);

// The one application object; nil before it is registered.
void _RuntimeRegisterAppObject(const Ref<Application>& app);
Ref<Application> _GetAppObject();

// Ends the application with that exit value. Never returns: unwinds by EndException to RuntimeRun, through
// every handler and nested loop, or, before the event loop runs, to the program's entry.
[[noreturn]] void Quit(std::int32_t code = 0);

// Raises the application's Open event and runs the event loop until the application quits. Faults that no
// handler took pass through.
void RuntimeRun();

// The end of an exception that no handler took: says on standard error what failed, and makes 1 the exit
// value. The caller ends the program.
void RuntimeUnhandledException(const std::exception& fault);

// The file operations whose failure may have led to the fault: what could not be opened is nil.
std::vector<Failure> FailuresBehind(const std::exception& fault);

// Drops the application object. Gives the process's exit value: that of Quit, or 1 after an unhandled
// exception.
int RuntimeExit();

}  // namespace vantorel
