#pragma once

#include <array>
#include <string_view>

#include "editing/parameter_ids.h"
#include "host/parameter_keys.h"
#include "host/parameter_record.h"

/// All parameters in the order of their ids, with the default in `value`; the effect's constructor
/// fills in `normalised` and `group`.
extern const std::array<ParameterRecord, kNumParams> kParameterTable;

/// The identifiers as one comma-separated text, "kIpTrim=0,kOpTrim,kB1State,...". They are the keys
/// in stored documents and must never change, even if the names shown do.
[[nodiscard]] std::string_view parameterEnumeration() noexcept;

/// Identifiers and their numbers, split once per process; any thread.
[[nodiscard]] const ParameterKeys& parameterKeyTable();

/// Texts of `kB1SubType`, by value.
inline constexpr std::array<std::string_view, 8> kSubTypeNames = {
    "BPF", "BPF B", "BPF EE", "LPF", "LPF B", "HPF", "HPF B", "FLAT"};

/// Dial stops of the ratio parameters: the normalised positions of 1:2 to Inf:1.
inline constexpr std::string_view kRatioStops =
    "0,0.05555555556,0.125,0.2142857143,0.3333333333,0.5, "
    "0.5833333333,0.6428571429,0.6875,0.75,0.8333333333,0.875,0.9,0.95,0.975,1.0";
