#pragma once

/// From now on an interrupt, hang-up or termination of the process only raises the flag below, so
/// that work under way can end in good order. A file past the size limit, or a pipe that nobody
/// reads, becomes an error of the write.
void catchStopRequests() noexcept;

/// Ends what `catchStopRequests` did for requests: the next one ends the process at once. For when
/// nothing is left to be put in order, so that a message nobody takes does not hold it up.
void releaseStopRequests() noexcept;

/// Whether the process was asked to stop since `catchStopRequests`. Any thread.
[[nodiscard]] bool stopRequested() noexcept;
