#include "editor/element_factory.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>

#include "editor/controls/labels.h"
#include "editor/controls/pages.h"
#include "editor/controls/rounded_frame.h"
#include "editor/controls/tiles.h"
#include "editor/element_row.h"
#include "editor/layout/tag_table.h"
#include "editor/stock_elements.h"
#include "toolkit/frame.h"

namespace {

constexpr std::uint32_t kLabel = 0x848484;
constexpr std::uint32_t kText = 0xe0e0e0;
constexpr std::uint32_t kValue = 0x5785a6;
constexpr std::uint32_t kPanel = 0x0d0d0d;
constexpr std::uint32_t kPanelBorder = 0x1f1f1f;
constexpr std::uint32_t kBluePanel = 0x151a1e;
constexpr std::uint32_t kBlueBorder = 0x2a3138;
constexpr std::uint8_t kDarkenAlpha = 0x99;
constexpr std::uint8_t kBypassAlpha = 0x48;

using Element = LayoutElement;

TextStyle bold(float size, std::uint32_t colour, CHoriTxtAlign align = kLeftText) {
  return {Face::find("DSP-Bold"), size, CColor::rgb(colour), align};
}

template <typename Page>
CView* makePage(const Element& element, const ControlSetup& setup) {
  auto* const page = new Page(setup.size, setup.tag, elementNumber(element, "pagenumber"));
  page->setBackground(elementBitmap(element));
  return page;
}

template <std::uint32_t kFill, std::uint32_t kBorder>
CView* makeFrame(const Element& element, const ControlSetup& setup) {
  return new roundEdgedFrame(setup.size, setup.tag, 0, elementNumber(element, "flags"),
                             CColor::rgb(kBorder), CColor::rgb(kFill));
}

template <std::uint32_t kColour, CHoriTxtAlign kAlign, int kSize = 12>
CView* makeLabel(const Element& element, const ControlSetup& setup) {
  return new CStaticTextLabel(setup, elementText(element, "text"),
                              bold(static_cast<float>(kSize), kColour, kAlign));
}

CView* makeTitle(const Element& element, const ControlSetup& setup) {
  constexpr std::string_view kFirst = "CORVA";
  std::string rest = elementText(element, "text");
  if (rest.starts_with(kFirst)) rest.erase(0, kFirst.size());
  return new CTitleLabel(setup, std::string(kFirst), std::move(rest), bold(9.0F, kText),
                         CColor::rgb(kValue));
}

CView* makeTextDisplay(const Element& element, const ControlSetup& setup) {
  return new nTextDisplay(setup, elementText(element, "text"), bold(12.0F, 0xffffff));
}

CView* makeAboutText(const Element& element, const ControlSetup& setup) {
  return new nTextDisplay(setup, "Corvanthelis 1.03\\" + elementText(element, "text"),
                          bold(12.0F, 0xffffff));
}

CView* makeTiled(const Element& element, const ControlSetup& setup) {
  return new nTiled(setup, elementBitmap(element), {}, elementNumber(element, "clickthru") != 0);
}

CView* makeTiledStatic(const Element& element, const ControlSetup& setup) {
  return new tiledStatic(setup, elementBitmap(element));
}

CView* makeDarken(const Element& /*element*/, const ControlSetup& setup) {
  return new nDarken(setup, {0, 0, 0, kDarkenAlpha});
}

CView* makeBypassOverlay(const Element& /*element*/, const ControlSetup& setup) {
  return new nBypassOverlay(setup, {0x80, 0x80, 0x80, kBypassAlpha},
                            bold(30.0F, 0xffffff, kCenterText));
}

constexpr ElementRow kOwnRows[] = {
    {"ControlBlock", "ControlBlock"},
    {"SControlBlock", "ScalableLFControlBlock"},
    {"ControlText", "ControlBlock"},
    {"ControlButton", "ControlBlock"},
    {"ControlMenu", "ControlBlock"},
    {"ControlMenuDither", "ControlBlock"},
    {"CTextValueButton", "CTextValueButton"},
    {"CTextValueButtonD", "CTextValueButton"},
    {"DashSeparatedValues", "CDashSeparatedTextValueButton"},
    {"CTTText", "CTTText"},
    {"CTTTextBlack", "CTTText"},
    {"CTTTextMini", "CTTText"},
    {"CTTTextMiniC", "CTTText"},
    {"StaticTextLabel", "CStaticTextLabel", &makeLabel<kLabel, kLeftText>},
    {"StaticTextLabelW", "CStaticTextLabel", &makeLabel<kText, kLeftText>},
    {"StaticTextLabelC", "CStaticTextLabel", &makeLabel<kLabel, kCenterText>},
    {"StaticTextLabelB", "CStaticTextLabel", &makeLabel<kValue, kCenterText>},
    {"StaticTextLabelMini", "CStaticTextLabel", &makeLabel<kLabel, kCenterText, 10>},
    {"StaticTitleLabel", "CTitleLabel", &makeTitle},
    {"nTextDisplay", "nTextDisplay", &makeTextDisplay},
    {"AboutText", "nTextDisplay", &makeAboutText},
    {"nLogo", "nTTLogo"},
    {"ToolTips", "nToolTips"},
    {"SectionLabel", "nSectionLabel"},
    {"SectionToggle", "nSectionToggle"},
    {"MuteButton", "MuteButton"},
    {"ReleaseLED", "ReleaseLED"},
    {"nPage", "nPage", &makePage<nPage>},
    {"nPageR", "nPageR", &makePage<nPageR>},
    {"nDraggablePage", "nDraggablePageTiled", &makePage<nDraggablePageTiled>},
    {"nPageSelect", "nPageSelect"},
    {"nDarken", "nDarken", &makeDarken},
    {"nGrey", "nBypassOverlay", &makeBypassOverlay},
    {"Section", "nSection"},
    {"Separator", "nSeparator"},
    {"roundedFrame", "roundEdgedFrame", &makeFrame<kPanel, kPanelBorder>},
    {"roundedFrameBlue", "roundEdgedFrame", &makeFrame<kBluePanel, kBlueBorder>},
    {"selectorTab", "selectorTab"},
    {"bandTabs", "bandTabs"},
    {"bandGroup", "bandGroup"},
    {"ControlSection", "nPage"},
    {"EQGraph", "EQGraph"},
    {"nTTVU", "nTTVU"},
    {"nVU", "nVU"},
    {"miniGR", "miniGRmeter"},
    {"clipGRmeter", "clipGRmeter"},
    {"loudnessMeterView", "loudnessMeterView"},
    {"nFader", "nFader"},
    {"nFaderH", "nFaderH"},
    {"VLineFader", "LineFader"},
    {"nTiled", "nTiled", &makeTiled},
    {"tiledStatic", "tiledStatic", &makeTiledStatic},
    {"tiledButton", "tiledButton"},
    {"tiledKickButton", "tiledKickButton"},
    {"tiledUndoRedoButton", "tiledUndoRedoButton"},
    {"tiledMSButton", "tiledMSButton"},
    {"tiledLockMenuButton", "tiledLockMenuButton"},
    {"tiledGraphMenu", "tiledGraphMenu"},
    {"tiledSCMenu", "tiledSCMenu"},
    {"SOptionMenu", "tiledSOptionMenu"},
    {"CopyToMenu", "tiledCopyToMenu"},
    {"nKickButton2", "nKickButton"},
    {"nTTKickButton", "nTTKickButton"},
    {"nTTKickButtonBig", "nTTKickButton"},
    {"FlatButton", "FlatButton"},
    {"CMovieButton3", "CMovieButton3"},
    {"nLinkButton", "nLinkIconButton"},
    {"nResizeBox", "nResizeBox", nullptr, kGUIResize},
    {"CPresetMenu", "CPresetMenu"},
    {"CTTPresetMenu2", "CTTPresetMenu2"},
    {"SetupWindow", "SetupWindow"},
    {"Preferences", "Preferences", nullptr, kGUIPrefsChange},
    {"UIPreferences", "UIPreferences", nullptr, kGUIUIPrefsChange},
};

const ElementRow* rowOf(std::span<const ElementRow> rows, const LayoutElement& element) {
  const auto row = std::ranges::find(rows, std::string_view(element.name), &ElementRow::element);
  return row == rows.end() ? nullptr : &*row;
}

}  // namespace

PlainElement::PlainElement(const ControlSetup& setup, std::string name)
    : CControl(setup), className(std::move(name)) {}

void PlainElement::draw(CDrawContext& /*context*/) { setDirty(false); }

bool PlainElement::hitTest(CPoint /*where*/, CButtonState /*buttons*/) const { return false; }

std::optional<CView*> ElementFactory::createStockView(const LayoutElement& element) {
  const ElementRow* const row = rowOf(stockElements(), element);
  if (row == nullptr) return std::nullopt;
  return row->make(element, {element.rect, &listener, element.tag});
}

CView* ElementFactory::createCustomView(const LayoutElement& element) {
  const ElementRow* const row = rowOf(kOwnRows, element);
  if (row == nullptr) return nullptr;
  const ControlSetup setup{element.rect, &listener, row->ownTag >= 0 ? row->ownTag : element.tag};
  if (row->make != nullptr) return row->make(element, setup);
  return new PlainElement(setup, std::string(row->className));
}

void ElementFactory::addView(CViewContainer& parent, CView& view) { parent.addView(&view); }

CViewContainer* ElementFactory::asContainer(CView& view) {
  return dynamic_cast<CViewContainer*>(&view);
}

std::vector<std::string> ElementFactory::plainElements() {
  std::vector<std::string> names;
  for (const ElementRow& row : kOwnRows) {
    if (row.make == nullptr) names.emplace_back(row.element);
  }
  return names;
}
