#pragma once

/// Occupies the standard streams that the process was started without, so that no file opened later
/// takes their number and receives messages. Call it first in `main`. Printing to such a stream
/// fails, as on a closed one.
void holdClosedStandardStreams() noexcept;
