#include "apps/written_file.h"

#include <system_error>

#include "apps/failure.h"
#include "platform/stop_request.h"
#include "platform/whole_file.h"

void writeOutput(const std::string& path, const std::string& bytes) {
  // A process that ends here and now would leave a part of the file beside it.
  catchStopRequests();
  if (const std::error_code error = writeWholeFile(path, bytes)) {
    if (error == std::errc::interrupted) throw Failure(path, "interrupted");
    throw Failure(path, "cannot be written (" + error.message() + ")");
  }
}
