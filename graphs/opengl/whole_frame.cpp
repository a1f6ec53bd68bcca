#include "graphs/opengl/whole_frame.h"

#include "graphs/opengl/cgl_context.h"
#include "toolkit/frame.h"

void drawWholeFrame(CGLContext& context, CFrame& frame) {
  const float scale = frame.getScale();
  const CRect size = frame.getSize();
  const int width = devicePixels(size.width(), scale);
  const int height = devicePixels(size.height(), scale);
  context.setScale(scale);
  // A window of another size shows the frame at its top, as it tells of the mouse from there.
  const int rows = frame.getWindowHeight();
  context.beginFrame(width, height, rows > 0 ? rows - height : 0);
  frame.drawFrame(context, {0.0F, 0.0F, size.width(), size.height()});
  context.endFrame();
}
