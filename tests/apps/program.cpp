#include "tests/apps/program.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>

#include "tests/apps/test_files.h"

ProgramRun runProgram(const std::string& arguments) {
  return runProgram(arguments, CORVANTHELIS_PROGRAM);
}

ProgramRun runProgram(const std::string& arguments, const std::string& program) {
  const TestDirectory directory;
  const std::string out = directory.path("out");
  const std::string err = directory.path("err");
  const std::string command =
      ">'" + out + "' 2>'" + err + "' </dev/null '" + program + "' " + arguments;
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readBytes(out), readBytes(err)};
}

int lineCount(const std::string& text) {
  if (!text.empty() && text.back() != '\n') return -1;
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}
