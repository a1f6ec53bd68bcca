#include "host/file_errors.h"

#include <cstring>

#include "host/alerts.h"

void reportFileError(const std::string& path, const char* mode) {
  const bool writing = std::strchr(mode, 'w') != nullptr;
  Alerts::instance().add(kFileErrorCaption,
                         "Failed to " + std::string(writing ? "write to" : "read from") + " file " +
                             path + "\nThis is often due to permissions settings\n" +
                             "Your data has not been " + (writing ? "saved" : "loaded"));
}

void reportFileContent(const std::string& path, const std::string& fault,
                       const std::string& consequence) {
  Alerts::instance().add(kFileErrorCaption, path + " " + fault + "\n" + consequence);
}
