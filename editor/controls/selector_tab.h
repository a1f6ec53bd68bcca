#pragma once

#include <string>

#include "editor/controls/with_keys.h"
#include "toolkit/buttons.h"
#include "toolkit/device_picture.h"

/// The foot of a column that a press opens and closes; open, it makes one surface with the column
/// above. `side`: 0 under the left one, 1 under the right one. Threads: as `CView`.
class selectorTab : public WithKeys<COnOffButton> {
 public:
  selectorTab(const ControlSetup& setup, std::string label, int side);

  [[nodiscard]] std::string shownText() const override { return label; }
  void draw(CDrawContext& context) override;

 private:
  [[nodiscard]] CRect shape() const;

  std::string label;
  int side;
  TextStyle style;
  IconPicture arrow;
  BoxPicture box;
};
