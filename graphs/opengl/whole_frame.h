#pragma once

class CFrame;
class CGLContext;

/// Draws all of a frame into the current OpenGL context, whose picture is as large as the frame's
/// window or, without one, as the frame in device pixels. Under the frame's lock.
void drawWholeFrame(CGLContext& context, CFrame& frame);
