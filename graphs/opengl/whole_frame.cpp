#include "graphs/opengl/whole_frame.h"

#include "graphs/opengl/cgl_context.h"
#include "toolkit/frame.h"

void drawWholeFrame(CGLContext& context, CFrame& frame) {
  const float scale = frame.getScale();
  const CRect size = frame.getSize();
  const int width = devicePixels(size.width(), scale);
  const int height = devicePixels(size.height(), scale);
  context.setScale(scale);
  context.beginFrame(width, height);
  frame.drawFrame(context, {0.0F, 0.0F, size.width(), size.height()});
  context.endFrame();
}
