#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/dialogs.h"

/// A user who answers every file dialog alike and agrees to everything.
class ScriptedDialogs : public Dialogs {
 public:
  void showWarning(const std::string& caption, const std::string& message) override {
    EXPECT_EQ(caption, expectedCaption);
    warnings.push_back(message);
  }
  bool confirm(const std::string& /*caption*/, const std::string& /*message*/) override {
    return true;
  }
  bool openFileDialog(const FileDialog& dialog, std::string& resultPath) override {
    asked.push_back(dialog);
    if (!answer.empty()) resultPath = answer;
    return !answer.empty();
  }

  std::string expectedCaption = "Halvekro : File Access Error";
  std::string answer;
  std::vector<FileDialog> asked;
  std::vector<std::string> warnings;
};
