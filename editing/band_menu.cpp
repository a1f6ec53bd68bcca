#include "editing/band_menu.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include "dynamics/band_layout.h"
#include "editing/band_edits.h"
#include "editing/band_files.h"
#include "editing/chain_edits.h"
#include "editing/edited_parameters.h"
#include "filters/band_shape.h"
#include "host/editor_state.h"
#include "platform/dialogs.h"
#include "state/globals.h"
#include "state/install_folders.h"
#include "state/preset_menu.h"

namespace {

using Parts = BandMenuParts;

/// The shapes that the menu offers, a selection of those a dynamic EQ band can have.
struct Shape {
  const char* text;
  int subType;
};
constexpr std::array<Shape, 5> kShapes = {{{"BPF Butterworth", kBandPassB},
                                           {"BPF EE", kBandPassEE},
                                           {"LPF Butterworth", kLowPassB},
                                           {"HPF Butterworth", kHighPassB},
                                           {"Flat", kFlat}}};

bool isRunning(const Parts& parts, int band) {
  return parts.parameters.isOn(bandParameterId(band, kB1State));
}

bool isDynamic(const Parts& parts, int band) {
  return parts.parameters.isOn(bandParameterId(band, kB1Type));
}

void addPresets(Menu& menu, const Parts& parts, int band, const PresetMenu& folder) {
  for (const PresetMenu::Entry& entry : folder.entries) {
    if (entry.submenu) {
      Menu submenu{entry.text};
      addPresets(submenu, parts, band, *entry.submenu);
      menu.addSubmenu(std::move(submenu));
    } else {
      menu.add(entry.text, [parts, band, path = folder.path + entry.text + "." + kBandExtension] {
        parts.files.loadBandFile(path, band);
      });
    }
  }
}

void addFiles(Menu& menu, const Parts& parts, int band) {
  Menu files{"Preset"};
  files.add("Reset to default", [parts, band] { parts.files.resetBand(band); });
  files.add("Load band...", [parts, band] { parts.files.loadBandDialog(parts.dialogs, band); });
  files.add("Save band...", [parts, band] { parts.files.saveBandDialog(parts.dialogs, band); });
  files.add("Save as default...", [parts, band] { parts.files.saveDefaultBand(band); });
  files.addSeparator();
  addPresets(files, parts, band, parts.files.bandPresets());
  menu.addSubmenu(std::move(files));
}

/// Sets kind and shape. A running band that changes its kind moves in the chain; one that does not,
/// or that is off, stays where it is.
void setKind(const Parts& parts, int band, bool dynamic, int subType) {
  const HistoryGroup group(parts.parameters);
  const UpdateHold hold(parts.parameters.updates());
  if (isDynamic(parts, band) != dynamic) {
    if (!isRunning(parts, band)) {
      editPlain(parts.parameters, bandParameterId(band, kB1Type), dynamic ? 1.0F : 0.0F);
    } else if (!parts.bands.setBandPosition(band, dynamic ? kPostList : kXoverList)) {
      return;
    }
  }
  if (!dynamic) return;
  editPlain(parts.parameters, bandParameterId(band, kB1SubType), static_cast<float>(subType));
}

void addKinds(Menu& menu, const Parts& parts, int band) {
  const bool dynamic = isDynamic(parts, band);
  const auto now = static_cast<int>(parts.parameters.getPlain(bandParameterId(band, kB1SubType)));
  for (const Shape& shape : kShapes) {
    menu.addChecked(shape.text, dynamic && shape.subType == now,
                    [parts, band, &shape] { setKind(parts, band, true, shape.subType); });
  }
  menu.addChecked("XOver", !dynamic, [parts, band] { setKind(parts, band, false, 0); });
}

void addPlaces(Menu& menu, const Parts& parts, int band) {
  BandLayout& layout = parts.parameters.layout();
  const auto holdsBand = [&layout, band](const BandLayout::List& list) {
    const BandLayout::List bands = layout.copyOf(list);
    return std::ranges::find(bands, band) != bands.end();
  };
  Menu places{"More"};
  const auto add = [&](const char* text, const BandLayout::List& list, BandList number) {
    places.addChecked(text, holdsBand(list),
                      [parts, band, number] { parts.bands.setBandPosition(band, number); });
  };
  add("Pre band", layout.pre, kPreList);
  add("XOver band", layout.xover, kXoverList);
  add("Post band", layout.post, kPostList);
  menu.addSubmenu(std::move(places));
}

void addCopies(Menu& menu, const Parts& parts, int band) {
  Menu targets{"Copy band to"};
  const auto copyTo = [&parts, band](int target) {
    return [parts, band, target] { BandEdits(parts.parameters).copyBand(band, target); };
  };
  for (int target = 0; target < kNumBands; ++target) {
    if (!isRunning(parts, target)) continue;
    targets.add("Band " + std::to_string(target + 1), copyTo(target));
    targets.entries.back().enabled = target != band;
  }
  targets.add("All bands", copyTo(BandEdits::kEveryTarget));
  menu.addSubmenu(std::move(targets));
}

void sort(const Parts& parts) {
  const bool asks = parts.globals.getGlobal(kSortPreference, -1) != 0;
  const auto act = [parts](bool isConfirmed) {
    if (isConfirmed) BandEdits(parts.parameters).sortBands();
  };
  if (asks) {
    parts.dialogs.confirm(kSortCaption, kSortQuestion, act);
  } else {
    act(true);
  }
}

void addScopes(Menu& menu, const Parts& parts, int band, const char* title,
               void (BandEdits::*act)(int, int, BandMask)) {
  Menu scopes{title};
  for (std::size_t scope = 0; scope < kBandScopeTexts.size(); ++scope) {
    scopes.add(kBandScopeTexts.at(scope), [parts, band, act, scope = static_cast<int>(scope)] {
      (BandEdits(parts.parameters).*act)(band, scope, parts.editor.selectedBands);
    });
  }
  menu.addSubmenu(std::move(scopes));
}

}  // namespace

Menu bandMenu(const BandMenuParts& parts, int band) {
  Menu menu;
  if (band < 0 || band >= kNumBands) return menu;
  addFiles(menu, parts, band);
  addKinds(menu, parts, band);
  addPlaces(menu, parts, band);
  addCopies(menu, parts, band);
  menu.add("Sort bands into order", [parts] { sort(parts); });
  addScopes(menu, parts, band, "Lock", &BandEdits::lock);
  addScopes(menu, parts, band, "Unlock", &BandEdits::unlock);
  addScopes(menu, parts, band, "Link", &BandEdits::link);
  addScopes(menu, parts, band, "Unlink", &BandEdits::unlink);
  return menu;
}
