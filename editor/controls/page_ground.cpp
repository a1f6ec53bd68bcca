#include "editor/controls/page_ground.h"

#include "toolkit/device_picture.h"
#include "toolkit/look.h"

namespace {

constexpr int kSetupImage = 210;
constexpr int kTrayImage = 211;

/// A window with a well for its pages, a list beside them, and a cross that closes it.
class SetupGround : public PageGround {
 public:
  void draw(CDrawContext& context, const CRect& whole) override {
    window.draw(context, whole, {5.0F, look::kBluePanel, look::kBlueBorder});
    well.draw(context, {16.0F, 41.0F, 616.0F, 387.0F}, {3.0F, look::kPanel, look::kBorder});
    const float line = context.hairline();
    context.fillRect({166.0F, 41.0F + line, 166.0F + line, 387.0F - line}, look::kBorder);
    cross.draw(context, {603.5F, 27.5F}, 18.0F, Icon::kCross, look::kLabel);
  }

 private:
  BoxPicture window;
  BoxPicture well;
  IconPicture cross;
};

/// Hangs from the title bar, open at the top, with a well for the preset's name.
class TrayGround : public PageGround {
 public:
  void draw(CDrawContext& context, const CRect& whole) override {
    tray.draw(
        context, whole,
        {.radius = 4.0F, .fill = look::kBluePanel, .line = look::kBlueBorder, .roundTop = false});
    const float line = context.hairline();
    context.fillRect({line, 0.0F, whole.right - line, line}, look::kBluePanel);
    well.draw(context, {35.0F, 4.0F, 243.0F, 22.0F}, {2.5F, look::kPanel, look::kBorder});
  }

 private:
  BoxPicture tray;
  BoxPicture well;
};

}  // namespace

std::unique_ptr<PageGround> PageGround::ofImage(int resourceNumber) {
  if (resourceNumber == kSetupImage) return std::make_unique<SetupGround>();
  if (resourceNumber == kTrayImage) return std::make_unique<TrayGround>();
  return nullptr;
}
