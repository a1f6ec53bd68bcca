#pragma once

/// Holds standard streams that the process was started without, so that no file it opens takes
/// their place and is written to by a message. First thing in `main`. What is printed to a stream
/// held like this fails, as it would on a closed one.
void holdClosedStandardStreams() noexcept;
