#include "host/parameter_store.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <string_view>

#include "host/curves.h"
#include "host/shared_value.h"
#include "platform/index.h"

namespace {

/// The band 1..9 that an identifier such as "kB3Ratio" belongs to; 0 for a global parameter.
std::int32_t groupOf(std::string_view identifier) noexcept {
  if (identifier.size() < 3 || !identifier.starts_with("kB")) return 0;
  const char digit = identifier[2];
  return digit >= '1' && digit <= '9' ? digit - '0' : 0;
}

/// Plain units per step of a stepped parameter; 0 for a continuous one.
std::int32_t stepWidth(std::int32_t curve) noexcept {
  switch (curve) {
    case kCurveWhole:
    case kCurveOctaves:
    case kCurveFloor:
      return 1;
    case kCurveMultipleOf6:
      return 6;
    case kCurveMultipleOf12:
      return 12;
    default:
      return 0;
  }
}

}  // namespace

ParameterStore::ParameterStore(std::span<const ParameterRecord> table, const ParameterKeys& keys,
                               int numPrograms)
    : records(table.begin(), table.end()),
      parameterKeys(keys),
      programList(at(std::max(numPrograms, 1))) {
  for (ParameterRecord& record : records) {
    record.normalised = plainToNormalised(record.value, record.min, record.max, record.curve);
  }
  takeGroups();
  fill(defaultValues);
  for (ProgramRecord& program : programList) fill(program);
  for (ProgramRecord& bank : bankList) fill(bank);
}

void ParameterStore::takeGroups() {
  std::uint32_t isNamed = 0;  // a bit per group
  for (std::int32_t i = 0; i < count(); ++i) {
    const std::int32_t group = groupOf(parameterKeys.name(i));
    records[at(i)].group = group;
    if (group == 0 || (isNamed & 1U << group) != 0) continue;
    isNamed |= 1U << group;
    names.push_back("Band " + std::to_string(group));
  }
}

void ParameterStore::fill(ProgramRecord& program) const {
  program.values.clear();
  program.values.reserve(records.size());
  for (const ParameterRecord& record : records) program.values.push_back(record.normalised);
}

const ParameterRecord& ParameterStore::info(std::int32_t index) const noexcept {
  assert(contains(index));
  return records[at(index)];
}

float ParameterStore::toPlain(std::int32_t index, float normalised) const noexcept {
  if (!contains(index)) return 0.0F;
  const ParameterRecord& record = info(index);
  return normalisedToPlain(normalised, record.min, record.max, record.curve);
}

float ParameterStore::toNormalised(std::int32_t index, float plain) const noexcept {
  if (!contains(index)) return 0.0F;
  const ParameterRecord& record = info(index);
  return plainToNormalised(plain, record.min, record.max, record.curve);
}

std::int32_t ParameterStore::stepCount(std::int32_t index) const noexcept {
  if (!contains(index)) return 0;
  const ParameterRecord& record = info(index);
  if (record.curve == kCurveSwitch) return 1;
  const std::int32_t width = stepWidth(record.curve);
  return width > 0 ? static_cast<std::int32_t>(record.max - record.min) / width + 1 : 0;
}

std::int32_t ParameterStore::stepSize(std::int32_t index) const noexcept {
  return contains(index) ? std::max(stepWidth(info(index).curve), 1) : 1;
}

float ParameterStore::hostStepValue(std::int32_t index, float value, bool toHost) const noexcept {
  if (!contains(index)) return value;
  const ParameterRecord& record = info(index);
  if (record.curve != kCurveWhole && record.curve != kCurveMultipleOf6 &&
      record.curve != kCurveMultipleOf12) {
    return value;
  }
  const float range = record.max - record.min;
  if (toHost) return (toPlain(index, value) - record.min) / range;
  // In 32 bits: the product of a step's share rounds back to the whole step, where 64 bits would
  // keep the error of the share and the floor would lose a step.
  return toNormalised(index, std::floor(value * range + record.min));
}

float ParameterStore::normalised(std::int32_t index) const noexcept {
  return contains(index) ? loadShared(info(index).normalised) : 0.0F;
}

float ParameterStore::plain(std::int32_t index) const noexcept {
  return contains(index) ? loadShared(info(index).value) : 0.0F;
}

void ParameterStore::store(std::int32_t index, float normalised) noexcept {
  if (!contains(index)) return;
  constexpr int kMostWriters = 4;
  float& shown = records[at(index)].normalised;
  storeShared(shown, normalised);
  // Another thread may set the same parameter meanwhile: all places end with the value of one.
  for (int turn = 0; turn < kMostWriters; ++turn) {
    storeShared(program().values[at(index)], normalised);
    storeShared(bankList[at(currentBank())].values[at(index)], normalised);
    storeShared(records[at(index)].value, toPlain(index, normalised));
    const float newest = loadShared(shown);
    if (newest == normalised) return;
    normalised = newest;
  }
}

bool ParameterStore::isProgram(std::int32_t program) const noexcept {
  return program >= 0 && at(program) < programList.size();
}

ProgramRecord& ParameterStore::program() noexcept { return programList[at(currentProgram())]; }

std::int32_t ParameterStore::bankSwitchedTo(std::int32_t index, float normalised) const noexcept {
  if (index != selector) return -1;
  const auto bank = static_cast<std::int32_t>(toPlain(selector, normalised));
  return isBank(bank) && bank != currentBank() ? bank : -1;
}

void ParameterStore::selectBank(std::int32_t bank) noexcept {
  curBank.store(bank, std::memory_order_relaxed);
  if (!contains(selector)) return;
  const auto plain = static_cast<float>(bank);
  storeShared(records[at(selector)].value, plain);
  storeShared(records[at(selector)].normalised, toNormalised(selector, plain));
}

float ParameterStore::bankValue(std::int32_t bank, std::int32_t index) const noexcept {
  return loadShared(bankList[at(bank)].values[at(index)]);
}

void ParameterStore::snapBank(std::int32_t bank) noexcept {
  for (std::int32_t i = 0; i < count(); ++i) {
    float& stored = bankList[at(bank)].values[at(i)];
    storeShared(stored, toNormalised(i, toPlain(i, loadShared(stored))));
  }
}

void ParameterStore::copyToBank(std::int32_t bank) noexcept {
  for (std::int32_t i = 0; i < count(); ++i) {
    storeShared(bankList[at(bank)].values[at(i)], normalised(i));
  }
}
