#include "tests/apps/program.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>

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

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
}

ProgramRun ProgramTest::run(std::string arguments, const std::string& program) const {
  replaceAll(arguments, "@", file(""));
  ProgramRun result = program.empty() ? runProgram(arguments) : runProgram(arguments, program);
  replaceAll(result.out, file(""), "@");
  replaceAll(result.err, file(""), "@");
  return result;
}
