#pragma once

/// While there is one of these, the pictures and faces that the process has loaded stay loaded; the
/// last one to go gives them up. Threads: any.
class KeptResources {
 public:
  KeptResources() noexcept;
  ~KeptResources();
  KeptResources(const KeptResources&) = delete;
  KeptResources& operator=(const KeptResources&) = delete;
};
