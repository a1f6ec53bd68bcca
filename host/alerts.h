#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/dialogs.h"
#include "platform/plug_base_mutex.h"

/// Messages waiting for the user: raised on any thread but the audio thread, shown on the message
/// thread by the next editor that idles. Without an editor they wait.
class Alerts : public PlugBaseMutex {
 public:
  /// The instance of this process, made on first use.
  static Alerts& instance();

  void add(std::string caption, std::string message);

  /// Shows the messages waiting at the moment of the call, one box after another, and forgets them;
  /// any added meanwhile wait for the next call. While one `show` of the process has a box open,
  /// another (a second editor may idle while the box is open) does nothing.
  void show(Dialogs& dialogs);

 private:
  using Alert = std::pair<std::string, std::string>;  // caption, message

  std::vector<Alert> alerts;
};
