#include "apps/written_file.h"

#include <system_error>

#include "apps/failure.h"
#include "platform/whole_file.h"

void writeOutput(const std::string& path, const std::string& bytes) {
  if (const std::error_code error = writeWholeFile(path, bytes)) {
    throw Failure(path, "cannot be written (" + error.message() + ")");
  }
}
