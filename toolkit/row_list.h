#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "toolkit/device_picture.h"
#include "toolkit/view.h"

/// A list of texts in rows of 22, one of which may be selected; it scrolls by whole rows. Threads:
/// as `CView`.
class RowList : public CView {
 public:
  static constexpr int kNone = -1;

  struct Row {
    std::string text;  ///< UTF-8
    bool isFolder = false;
  };
  /// A row has been selected by the user, or opened by a double click. May remove the list.
  using Act = std::function<void(int row)>;

  RowList(const CRect& size, Act selected, Act opened);

  void setRows(std::vector<Row> rows);
  [[nodiscard]] const std::vector<Row>& rows() const noexcept { return list; }
  /// Not told to `selected`.
  void select(int row);
  [[nodiscard]] int selected() const noexcept { return chosen; }
  /// The keys go to it: its selection is shown stronger.
  void setFocused(bool on);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  void onMouseExited() override;
  void onMouseCancel() override { dragsBar = false; }
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  /// Arrows, pages, Home and End, and what begins with the letters typed.
  bool onKeyDown(const KeyEvent& key) override;

 protected:
  ~RowList() override;

 private:
  [[nodiscard]] int count() const noexcept { return static_cast<int>(list.size()); }
  [[nodiscard]] int seen() const;  ///< rows that there is room for
  [[nodiscard]] int rowAt(CPoint where) const;
  [[nodiscard]] CRect rowPlace(int row) const;
  [[nodiscard]] CRect barPlace() const;
  void scrollTo(int row);
  void userSelects(int row);
  void drawRow(CDrawContext& context, int row);

  std::vector<Row> list;
  Act whenSelected;
  Act whenOpened;
  BoxPicture ground;
  BoxPicture bar;
  int chosen = kNone;
  int hot = kNone;
  int first = 0;
  bool focused = false;
  bool dragsBar = false;
  float barGrip = 0.0F;  // from the bar's top to the mouse
  float wheelRest = 0.0F;
  std::string typed;
  std::uint64_t typedAt = 0;
};
