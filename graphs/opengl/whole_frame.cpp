#include "graphs/opengl/whole_frame.h"

#include <GL/gl.h>

#include "graphs/opengl/cgl_context.h"
#include "toolkit/frame.h"

void drawWholeFrame(CGLContext& context, CFrame& frame) {
  const float scale = frame.getScale();
  const CRect size = frame.getSize();
  const int width = static_cast<int>(size.width() * scale);
  const int height = static_cast<int>(size.height() * scale);
  glViewport(0, 0, width, height);
  glClearColor(0.0F, 0.0F, 0.0F, 1.0F);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0.0, width, height, 0.0, -1.0, 1.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  context.setScale(scale);
  context.beginFrame();
  frame.drawFrame(context, {0.0F, 0.0F, size.width(), size.height()});
  context.endFrame();
}
