#pragma once

/// From now on, signals to interrupt, hang up or terminate only raise the flag below, so that work
/// under way can end in order. Exceeding the file size limit and writing to a pipe that nobody
/// reads become errors of the write.
void catchStopRequests() noexcept;

/// Undoes `catchStopRequests` for these signals: the next one ends the process at once. For when
/// there is nothing left to tidy up, so that a blocked write of a message can be interrupted.
void releaseStopRequests() noexcept;

/// Whether the process was asked to stop since `catchStopRequests`. Any thread.
[[nodiscard]] bool stopRequested() noexcept;

/// The exit status by which shells know that a signal ended a process: 130 after Ctrl-C; 0 if none
/// has asked to stop.
[[nodiscard]] int stopStatus() noexcept;
