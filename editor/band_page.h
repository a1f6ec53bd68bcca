#pragma once

#include <cstdint>

#include "editor/controls/value_source.h"
#include "toolkit/control.h"
#include "toolkit/view_container.h"

class Plug;

// The controls of one band, as they stand on its page of the band panel. Threads: as `CView`.

/// Adds all of them. `band`: 0..7. `listener`, `values` and `effect` outlive them.
void fillBandPage(CViewContainer& page, int band, CControlListener* listener, ValueSource& values,
                  Plug& effect);

/// The columns of a page: the sidechain's, the graphs with the meter, those that are always there
/// and that of the advanced panel.
enum class BandColumn : std::uint8_t { kSidechain, kGraphs, kMain, kAdvanced };
/// Where one of the page's own children stands.
[[nodiscard]] BandColumn bandColumnOf(const CView& view);

/// What the way of a drag over a parameter's value is multiplied by, as `ControlBlock` takes it: a
/// parameter whose values lie unevenly, or apart from each other, moves slower.
[[nodiscard]] float dragFactorOf(const ValueSteps& steps) noexcept;
