#pragma once

#include <cstddef>
#include <cstdint>

/// Records, flags and numbers that an effect and its adapter share. They are the contract between
/// the two, with C layout: names, order and numbers are fixed.

struct AEffect;

/// Supplied by the adapter to receive the effect's messages. Must not throw; may be null.
using AudioMasterCallback = std::intptr_t (*)(AEffect* effect, std::int32_t opcode,
                                              std::int32_t index, std::intptr_t value, void* ptr,
                                              float opt);

using AEffectDispatcher = std::intptr_t (*)(AEffect* effect, std::int32_t opcode,
                                            std::int32_t index, std::intptr_t value, void* ptr,
                                            float opt);
using AEffectProcess = void (*)(AEffect* effect, float** inputs, float** outputs,
                                std::int32_t frames);
using AEffectProcessDouble = void (*)(AEffect* effect, double** inputs, double** outputs,
                                      std::int32_t frames);
using AEffectSetParameter = void (*)(AEffect* effect, std::int32_t index, float normalised);
using AEffectGetParameter = float (*)(AEffect* effect, std::int32_t index);

/// "PtsV" in the memory of a little-endian machine.
inline constexpr std::int32_t kEffectMagic = 0x56737450;

/// The record handed to the adapter. It is a member of the effect and lives as long as the effect.
struct AEffect {
  std::int32_t magic;
  AEffectDispatcher dispatcher;
  AEffectProcess process;  ///< the accumulating call of old hosts: leaves the buffers as they are
  AEffectSetParameter setParameter;
  AEffectGetParameter getParameter;
  std::int32_t numPrograms;
  std::int32_t numParams;
  std::int32_t numInputs;
  std::int32_t numOutputs;
  std::int32_t flags;  ///< of `AEffectFlags`
  std::intptr_t reserved1;
  std::intptr_t reserved2;
  std::int32_t initialDelay;  ///< latency, samples
  std::int32_t realQualities;
  std::int32_t offQualities;
  float ioRatio;
  void* object;  ///< the `AudioEffect`
  void* user;    ///< the adapter's object; the effect does not touch it
  std::int32_t uniqueID;
  std::int32_t version;
  AEffectProcess processReplacing;
  AEffectProcessDouble processDoubleReplacing;
};

static_assert(sizeof(void*) != 8 ||
              (offsetof(AEffect, dispatcher) == 8 && offsetof(AEffect, getParameter) == 32 &&
               offsetof(AEffect, numPrograms) == 40 && offsetof(AEffect, flags) == 56 &&
               offsetof(AEffect, reserved1) == 64 && offsetof(AEffect, initialDelay) == 80 &&
               offsetof(AEffect, ioRatio) == 92 && offsetof(AEffect, object) == 96 &&
               offsetof(AEffect, uniqueID) == 112 && offsetof(AEffect, processReplacing) == 120 &&
               sizeof(AEffect) == 136));

enum AEffectFlags : std::int32_t {
  kEffectHasEditor = 1,
  kEffectCanReplacing = 16,
  kEffectProgramChunks = 32,
  kEffectCanDoubleReplacing = 4096,
};

/// Effect to host.
enum HostOpcode : std::int32_t {
  kHostAutomate = 0,
  kHostVersion = 1,
  kHostWantMidi = 6,
  kHostGetTime = 7,
  kHostProcessEvents = 8,
  kHostIoChanged = 13,
  kHostProcessLevel = 23,
  kHostGetVendor = 32,
  kHostVendorSpecific = 35,
  kHostCanDo = 37,
  kHostBeginEdit = 43,
  kHostEndEdit = 44,
};

/// Version of this interface, as both sides report it.
inline constexpr std::intptr_t kInterfaceVersion = 2400;

/// Answers to `kHostProcessLevel`: called on the audio thread in real time, and rendering faster or
/// slower than real time.
inline constexpr std::intptr_t kProcessLevelRealtime = 2;
inline constexpr std::intptr_t kProcessLevelOffline = 4;

/// Index of the `kHostVendorSpecific` message sent after every `setProgram`: the letters "prch".
inline constexpr std::int32_t kProgramChanged = 0x70726368;

/// Host to effect.
enum EffectOpcode : std::int32_t {
  kEffectOpen = 0,
  kEffectClose = 1,
  kEffectSetProgram = 2,
  kEffectGetProgram = 3,
  kEffectSetProgramName = 4,
  kEffectGetProgramName = 5,
  kEffectGetParameterLabel = 6,
  kEffectGetParameterDisplay = 7,
  kEffectGetParameterName = 8,
  kEffectSetSampleRate = 10,
  kEffectSetBlockSize = 11,
  kEffectMainsChanged = 12,
  kEffectEditGetRect = 13,
  kEffectEditOpen = 14,
  kEffectEditClose = 15,
  kEffectEditIdle = 19,
  kEffectGetChunk = 23,
  kEffectSetChunk = 24,
  kEffectProcessEvents = 25,
  kEffectCanBeAutomated = 26,
  kEffectStringToParameter = 27,
  kEffectGetProgramNameIndexed = 29,
  kEffectGetInputProperties = 33,
  kEffectGetOutputProperties = 34,
  kEffectGetPlugCategory = 35,
  kEffectSetSpeakerArrangement = 42,
  kEffectSetBypass = 44,
  kEffectGetEffectName = 45,
  kEffectGetVendorString = 47,
  kEffectGetProductString = 48,
  kEffectGetVendorVersion = 49,
  kEffectVendorSpecific = 50,
  kEffectCanDo = 51,
  kEffectGetTailSize = 52,
  kEffectGetParameterProperties = 56,
  kEffectGetInterfaceVersion = 58,
  kEffectEditKeyDown = 59,
  kEffectEditKeyUp = 60,
  kEffectSetEditKnobMode = 61,
  kEffectBeginSetProgram = 67,
  kEffectEndSetProgram = 68,
  kEffectStartProcess = 71,
  kEffectStopProcess = 72,
  kEffectSetProcessPrecision = 77,
};

enum VstEventType : std::int32_t { kVstMidiType = 1, kVstSysExType = 6 };

/// Common start of every event; `type` says which record it really is.
struct VstEvent {
  std::int32_t type;
  std::int32_t byteSize;
  std::int32_t deltaFrames;  ///< samples after the start of the block
  std::int32_t flags;
  char data[16];
};

struct VstMidiEvent {
  std::int32_t type;  ///< `kVstMidiType`
  std::int32_t byteSize;
  std::int32_t deltaFrames;
  std::int32_t flags;
  std::int32_t noteLength;  ///< samples, 0 unknown
  std::int32_t noteOffset;
  std::uint8_t midiData[4];  ///< status and up to two data bytes, then 0
  std::int8_t detune;        ///< cents
  std::uint8_t noteOffVelocity;
  std::uint8_t reserved1;
  std::uint8_t reserved2;
};

/// A system exclusive message. The sender owns its bytes; they are valid for this block only.
struct VstMidiSysExEvent {
  std::int32_t type;  ///< `kVstSysExType`
  std::int32_t byteSize;
  std::int32_t deltaFrames;
  std::int32_t flags;
  std::int32_t dumpBytes;
  std::intptr_t reserved1;
  char* sysexDump;
  std::intptr_t reserved2;
};

/// A key that a host hands to the editor.
struct VstKeyCode {
  std::int32_t character;  ///< the character typed, 0 for none
  std::uint8_t virt;       ///< number of a key that types no character, 0 for none
  std::uint8_t modifier;   ///< of `VstModifierKeys`
};

/// The key that moves between controls of the host: an editor leaves it to the host.
inline constexpr std::uint8_t kVstKeyTab = 2;

enum VstModifierKeys : std::uint8_t {
  kVstModifierShift = 1,
  kVstModifierAlternate = 2,
  kVstModifierCommand = 4,
  kVstModifierControl = 8,
};

/// A list of `numEvents` pointers, of which the record declares the first two.
struct VstEvents {
  std::int32_t numEvents;
  std::intptr_t reserved;
  VstEvent* events[2];
};

static_assert(sizeof(VstEvent) == 32 && sizeof(VstMidiEvent) == 32);
static_assert(offsetof(VstMidiEvent, midiData) == 24);
static_assert(offsetof(VstEvents, events) == 2 * sizeof(void*));

/// Answer to `kHostGetTime`: position and tempo at the start of the block.
struct VstTimeInfo {
  double samplePos;
  double sampleRate;   ///< Hz
  double nanoSeconds;  ///< time on the host's own clock
  double ppqPos;       ///< quarter notes, like the bar and cycle positions
  double tempo;        ///< quarter notes per minute
  double barStartPos;
  double cycleStartPos;
  double cycleEndPos;
  std::int32_t timeSigNumerator;
  std::int32_t timeSigDenominator;
  std::int32_t smpteOffset;
  std::int32_t smpteFrameRate;
  std::int32_t samplesToNextClock;
  std::int32_t flags;  ///< of `VstTimeInfoFlags`
};

enum VstTimeInfoFlags : std::int32_t {
  kVstTransportPlaying = 2,
  kVstTransportCycleActive = 4,
  // Which fields are valid:
  kVstNanosValid = 0x100,
  kVstPpqPosValid = 0x200,
  kVstTempoValid = 0x400,
  kVstCyclePosValid = 0x1000,
  kVstTimeSigValid = 0x2000,
};

static_assert(sizeof(VstTimeInfo) == 88 && offsetof(VstTimeInfo, timeSigNumerator) == 64);

enum VstPinFlags : std::int32_t { kVstPinActive = 1, kVstPinStereo = 2, kVstPinUseSpeaker = 4 };
enum VstSpeakerArrangement : std::int32_t { kVstArrangementMono = 0, kVstArrangementStereo = 1 };

struct VstPinProperties {
  char label[64];
  std::int32_t flags;            ///< of `VstPinFlags`
  std::int32_t arrangementType;  ///< a `VstSpeakerArrangement`
  char shortLabel[8];
  char future[48];
};

static_assert(sizeof(VstPinProperties) == 128);
