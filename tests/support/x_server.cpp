#include "tests/support/x_server.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

XServer::XServer(const std::vector<std::string>& lacking) {
  std::array<int, 2> number{};
  if (::pipe(number.data()) != 0) throw std::runtime_error("no pipe");
  std::vector<std::string> words = {"Xvfb",      "-displayfd", std::to_string(number[1]),
                                    "-screen",   "0",          "640x480x24",
                                    "-nolisten", "tcp",        "-noreset"};
  for (const std::string& name : lacking) words.insert(words.end(), {"-extension", name});
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  process = ::fork();
  if (process == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::execvp("Xvfb", arguments.data());
    ::_exit(127);
  }
  ::close(number[1]);
  std::string name = ":";
  for (char digit = 0; ::read(number[0], &digit, 1) == 1 && digit != '\n';) name += digit;
  ::close(number[0]);
  if (name.size() < 2) throw std::runtime_error("Xvfb does not start");
  ::setenv("DISPLAY", name.c_str(), 1);
}

XServer::~XServer() {
  kill();
  ::unsetenv("DISPLAY");
}

void XServer::kill() {
  if (process <= 0) return;
  ::kill(process, SIGKILL);
  ::waitpid(process, nullptr, 0);
  process = 0;
}
