#include "editor/own_elements.h"

#include <string>
#include <string_view>
#include <utility>

#include "editor/band_panel.h"
#include "editor/controls/band_tabs.h"
#include "editor/controls/glyph_buttons.h"
#include "editor/controls/labels.h"
#include "editor/controls/pages.h"
#include "editor/controls/rounded_frame.h"
#include "editor/controls/section_labels.h"
#include "editor/controls/selector_tab.h"
#include "editor/controls/tiled_buttons.h"
#include "editor/controls/tiled_menus.h"
#include "editor/controls/tiles.h"
#include "editor/controls/tool_tips.h"
#include "editor/controls/value_buttons.h"
#include "editor/layout/tag_table.h"
#include "editor/meter_elements.h"
#include "editor/setup_elements.h"
#include "graphs/eq_graph.h"
#include "toolkit/look.h"

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
CView* makePage(const Element& element, const ElementSetup& setup) {
  auto* const page = new Page(setup.size, setup.tag, elementNumber(element, "pagenumber"));
  page->setBackground(elementBitmap(element));
  page->setGround(PageGround::ofImage(elementNumber(element, "background")));
  return page;
}

template <std::uint32_t kFill, std::uint32_t kBorder>
CView* makeFrame(const Element& element, const ElementSetup& setup) {
  return new roundEdgedFrame(setup.size, setup.tag, 0, elementNumber(element, "flags"),
                             CColor::rgb(kBorder), CColor::rgb(kFill));
}

template <std::uint32_t kColour, CHoriTxtAlign kAlign, int kSize = 12>
CView* makeLabel(const Element& element, const ElementSetup& setup) {
  return new CStaticTextLabel(setup, elementText(element, "text"),
                              bold(static_cast<float>(kSize), kColour, kAlign));
}

CView* makeTitle(const Element& element, const ElementSetup& setup) {
  constexpr std::string_view kFirst = "CORVA";
  std::string rest = elementText(element, "text");
  if (rest.starts_with(kFirst)) rest.erase(0, kFirst.size());
  return new CTitleLabel(setup, std::string(kFirst), std::move(rest), bold(9.0F, kText),
                         CColor::rgb(kValue));
}

CView* makeTextDisplay(const Element& element, const ElementSetup& setup) {
  return new nTextDisplay(setup, elementText(element, "text"), bold(12.0F, 0xffffff));
}

CView* makeAboutText(const Element& element, const ElementSetup& setup) {
  return new nTextDisplay(setup, "Corvanthelis 1.03\\" + elementText(element, "text"),
                          bold(12.0F, 0xffffff));
}

CView* makeTiled(const Element& element, const ElementSetup& setup) {
  return new nTiled(setup, elementBitmap(element), {}, elementNumber(element, "clickthru") != 0);
}

CView* makeTiledStatic(const Element& element, const ElementSetup& setup) {
  return new tiledStatic(setup, elementBitmap(element));
}

CView* makeDarken(const Element& /*element*/, const ElementSetup& setup) {
  return new nDarken(setup, {0, 0, 0, kDarkenAlpha});
}

CView* makeBypassOverlay(const Element& /*element*/, const ElementSetup& setup) {
  return new nBypassOverlay(setup, {0x80, 0x80, 0x80, kBypassAlpha},
                            bold(30.0F, 0xffffff, kCenterText));
}

TileLook tileLook(const Element& element, std::string title) {
  return {elementBitmap(element), elementBitmap(element, "base"), std::move(title)};
}

CView* makeTiledButton(const Element& element, const ElementSetup& setup) {
  const std::string_view name =
      getAttribute(element.attributes, "ontxt") != nullptr ? "ontxt" : "txt";
  return new tiledButton(setup, tileLook(element, elementText(element, name)),
                         elementNumber(element, "invert") != 0);
}

template <typename Button>
CView* makeTiledKick(const Element& element, const ElementSetup& setup) {
  return new Button(setup, tileLook(element, elementText(element, "txt")));
}

template <typename Menu>
CView* makeTiledByPicture(const Element& element, const ElementSetup& setup) {
  return new Menu(setup, elementBitmap(element));
}

CView* makeBankMenu(const Element& element, const ElementSetup& setup) {
  return new tiledSOptionMenu(setup, tileLook(element, ""), elementText(element, "txt"),
                              tagTable().find(elementText(element, "alttag")));
}

CView* makeCopyToMenu(const Element& element, const ElementSetup& setup) {
  return new tiledCopyToMenu(setup, tileLook(element, ""), elementText(element, "txt"));
}

template <int kGlyphSize>
CView* makeGlyphButton(const Element& element, const ElementSetup& setup) {
  // Folder and disk stand on one line, their rectangles do not.
  const bool isDisk = setup.tag == kGUISave || setup.tag == kGUISaveBank;
  return new nTTKickButton(setup, elementText(element, "str"), static_cast<float>(kGlyphSize),
                           isDisk ? 1.0F : 0.0F);
}

CView* makeKickButton(const Element& element, const ElementSetup& setup) {
  return new nKickButton(setup, elementBitmap(element),
                         static_cast<float>(elementNumber(element, "heightOfOneImage")));
}

template <typename Area>
CView* makePageSelect(const Element& element, const ElementSetup& setup) {
  return new Area(setup, elementNumber(element, "val"));
}

CView* makeSelectorTab(const Element& element, const ElementSetup& setup) {
  return new selectorTab(setup, elementText(element, "label"), elementNumber(element, "side"));
}

CView* makeToolTips(const Element& /*element*/, const ElementSetup& setup) {
  return new nToolTips(setup);
}

CView* makeResizeBox(const Element& /*element*/, const ElementSetup& setup) {
  return new nResizeBox(setup);
}

CColor colourOf(const Element& element) {
  return CColor::rgb(static_cast<std::uint32_t>(getAttributeHex(element.attributes, "colour")));
}

CView* makeSectionLabel(const Element& element, const ElementSetup& setup) {
  return new nSectionLabel(setup, elementText(element, "text"), colourOf(element),
                           static_cast<float>(elementNumber(element, "value")));
}

CView* makeSectionToggle(const Element& element, const ElementSetup& setup) {
  return new nSectionToggle(setup, elementText(element, "text"), colourOf(element));
}

CView* makeSeparator(const Element& element, const ElementSetup& setup) {
  return new nSeparator(setup, colourOf(element));
}

CView* makeMute(const Element& element, const ElementSetup& setup) {
  return new MuteButton(setup, elementText(element, "text"));
}

CView* makeFlatButton(const Element& element, const ElementSetup& setup) {
  return new FlatButton(setup, elementText(element, "text"));
}

CHoriTxtAlign alignOf(const Element& element) {
  const std::string align = elementText(element, "align");
  if (align == "right") return kRightText;
  return align == "center" || align == "centre" ? kCenterText : kLeftText;
}

CView* makeTextValueButton(const Element& element, const ElementSetup& setup) {
  return new CTextValueButton(setup,
                              {elementText(element, "text"), elementText(element, "text2"),
                               CColor::rgb(kValue), look::kOff},
                              look::bold(look::kSmallTextSize, look::kValue, alignOf(element)));
}

CView* makeBlankButton(const Element& /*element*/, const ElementSetup& setup) {
  return new CTextValueButton(setup, {" ", " ", CColor::rgb(kValue), CColor::rgb(kValue), false},
                              look::bold(look::kSmallTextSize, look::kValue));
}

CView* makeDashSeparated(const Element& element, const ElementSetup& setup) {
  return new CDashSeparatedTextValueButton(
      setup, elementText(element, "prefix"),
      {elementText(element, "text2"), elementText(element, "text1"), CColor::rgb(kValue),
       look::kUnlit, false},
      look::bold(9.0F, look::kValue));
}

CView* makeGraph(const Element& /*element*/, const ElementSetup& setup) {
  return new EQGraph(setup, setup.values, setup.effect);
}

CView* makeBandTabs(const Element& /*element*/, const ElementSetup& setup) {
  return new bandTabs(setup, setup.values);
}

CView* makeBandPanel(const Element& /*element*/, const ElementSetup& setup) {
  return BandPanel::build(setup, setup.values, setup.effect);
}

CView* makeBandGroup(const Element& element, const ElementSetup& setup) {
  return new bandGroup(setup.size, setup.tag, elementNumber(element, "pagenumber"));
}

CView* makeLinkButton(const Element& /*element*/, const ElementSetup& setup) {
  return new nLinkIconButton(setup);
}

constexpr ElementRow kOwnRows[] = {
    {"CTextValueButton", "CTextValueButton", &makeTextValueButton},
    {"CTextValueButtonD", "CTextValueButton", &makeBlankButton},
    {"DashSeparatedValues", "CDashSeparatedTextValueButton", &makeDashSeparated},
    {"StaticTextLabel", "CStaticTextLabel", &makeLabel<kLabel, kLeftText>},
    {"StaticTextLabelW", "CStaticTextLabel", &makeLabel<kText, kLeftText>},
    {"StaticTextLabelC", "CStaticTextLabel", &makeLabel<kLabel, kCenterText>},
    {"StaticTextLabelB", "CStaticTextLabel", &makeLabel<kValue, kCenterText>},
    {"StaticTextLabelMini", "CStaticTextLabel", &makeLabel<kLabel, kCenterText, 10>},
    {"StaticTitleLabel", "CTitleLabel", &makeTitle},
    {"nTextDisplay", "nTextDisplay", &makeTextDisplay},
    {"AboutText", "nTextDisplay", &makeAboutText},
    {"nLogo", "nTTLogo", &makePageSelect<nTTLogo>},
    {"ToolTips", "nToolTips", &makeToolTips},
    {"SectionLabel", "nSectionLabel", &makeSectionLabel},
    {"SectionToggle", "nSectionToggle", &makeSectionToggle},
    {"MuteButton", "MuteButton", &makeMute},
    {"ReleaseLED", "ReleaseLED", &makeReleaseLamp},
    {"nPage", "nPage", &makePage<nPage>},
    {"nPageR", "nPageR", &makePage<nPageR>},
    {"nDraggablePage", "nDraggablePageTiled", &makePage<nDraggablePageTiled>},
    {"nPageSelect", "nPageSelect", &makePageSelect<nPageSelect>},
    {"nDarken", "nDarken", &makeDarken},
    {"nGrey", "nBypassOverlay", &makeBypassOverlay},
    {"Section", "nSection", &makeSection},
    {"Separator", "nSeparator", &makeSeparator},
    {"roundedFrame", "roundEdgedFrame", &makeFrame<kPanel, kPanelBorder>},
    {"roundedFrameBlue", "roundEdgedFrame", &makeFrame<kBluePanel, kBlueBorder>},
    {"selectorTab", "selectorTab", &makeSelectorTab},
    {"bandTabs", "bandTabs", &makeBandTabs},
    {"bandGroup", "bandGroup", &makeBandGroup},
    {"ControlSection", "nPage", &makeBandPanel},
    {"EQGraph", "EQGraph", &makeGraph},
    {"nTTVU", "nTTVU", &makeMainMeter},
    {"nVU", "nVU", &makePlainMeter},
    {"miniGR", "miniGRmeter", &makeReductionMeter},
    {"clipGRmeter", "clipGRmeter", &makeClipMeter},
    {"loudnessMeterView", "loudnessMeterView", &makeLoudnessMeter},
    {"nTiled", "nTiled", &makeTiled},
    {"tiledStatic", "tiledStatic", &makeTiledStatic},
    {"tiledButton", "tiledButton", &makeTiledButton},
    {"tiledKickButton", "tiledKickButton", &makeTiledKick<tiledKickButton>},
    {"tiledUndoRedoButton", "tiledUndoRedoButton", &makeTiledKick<tiledUndoRedoButton>},
    {"tiledMSButton", "tiledMSButton", &makeTiledByPicture<tiledMSButton>},
    {"tiledLockMenuButton", "tiledLockMenuButton", &makeTiledByPicture<tiledLockMenuButton>},
    {"tiledGraphMenu", "tiledGraphMenu", &makeTiledByPicture<tiledGraphMenu>},
    {"tiledSCMenu", "tiledSCMenu", &makeTiledByPicture<tiledSCMenu>},
    {"SOptionMenu", "tiledSOptionMenu", &makeBankMenu},
    {"CopyToMenu", "tiledCopyToMenu", &makeCopyToMenu},
    {"nKickButton2", "nKickButton", &makeKickButton},
    {"nTTKickButton", "nTTKickButton", &makeGlyphButton<14>},
    {"nTTKickButtonBig", "nTTKickButton", &makeGlyphButton<18>},
    {"FlatButton", "FlatButton", &makeFlatButton},
    {"CMovieButton3", "CMovieButton3", &makeTiledByPicture<CMovieButton3>},
    {"nLinkButton", "nLinkIconButton", &makeLinkButton},
    {"nResizeBox", "nResizeBox", &makeResizeBox, kGUIResize},
    {"CPresetMenu", "CPresetMenu", &makePresetMenu},
    {"CTTPresetMenu2", "CTTPresetMenu2", &makePresetMenu2},
    {"SetupWindow", "SetupWindow", &makeSetupWindow},
    {"Preferences", "Preferences", &makePreferences, kGUIPrefsChange},
    {"UIPreferences", "UIPreferences", &makeUiPreferences, kGUIUIPrefsChange},
};

}  // namespace

std::span<const ElementRow> ownElements() { return kOwnRows; }
