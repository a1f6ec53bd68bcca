#pragma once

#include <cstddef>
#include <cstdint>

// Results, numbers and records that host and plug-in share.

using AAX_Result = std::int32_t;
inline constexpr AAX_Result AAX_SUCCESS = 0;
inline constexpr AAX_Result AAX_ERROR_INVALID_PARAMETER_ID = -20001;
inline constexpr AAX_Result AAX_ERROR_NULL_OBJECT = -20004;
inline constexpr AAX_Result AAX_ERROR_INVALID_CHUNK_INDEX = -20006;
inline constexpr AAX_Result AAX_ERROR_INVALID_CHUNK_ID = -20007;
inline constexpr AAX_Result AAX_ERROR_INCORRECT_CHUNK_SIZE = -20008;
inline constexpr AAX_Result AAX_ERROR_UNIMPLEMENTED = -20009;
inline constexpr AAX_Result AAX_ERROR_NULL_ARGUMENT = -20011;

using AAX_CTypeID = std::uint32_t;  ///< four letters, the first in the highest byte
using AAX_CParamID = const char*;
using AAX_CFieldIndex = std::uint32_t;
using AAX_CComponentID = std::uint32_t;
using AAX_CBoolean = std::uint8_t;
using AAX_CSampleRate = float;        ///< Hz
using AAX_CTimestamp = std::int64_t;  ///< samples
using AAX_CPropertyValue = std::int64_t;

/// Makes an id from four letters, such as "CvnP".
[[nodiscard]] constexpr AAX_CTypeID AAX_TypeID(const char (&letters)[5]) noexcept {
  AAX_CTypeID id = 0;
  for (int i = 0; i < 4; ++i) id = id << 8 | static_cast<unsigned char>(letters[i]);
  return id;
}

enum AAX_EStemFormat : std::int32_t {
  AAX_eStemFormat_None = 0,
  AAX_eStemFormat_Mono = 1,
  AAX_eStemFormat_Stereo = 0x10002,  ///< high half: number of the format; low half: channels
};
/// Channels of a stem format.
[[nodiscard]] constexpr std::int32_t AAX_STEM_FORMAT_CHANNEL_COUNT(std::int32_t format) noexcept {
  return format & 0xffff;
}
/// 1 mono, 2 stereo and so on: the number of the format, counted from 1.
[[nodiscard]] constexpr std::int32_t AAX_STEM_FORMAT_INDEX(std::int32_t format) noexcept {
  return (format >> 16) + (format == AAX_eStemFormat_None ? 0 : 1);
}

enum AAX_EProperty : std::int32_t {
  AAX_eProperty_ManufacturerID = 11,
  AAX_eProperty_ProductID = 12,
  AAX_eProperty_PlugInID_Native = 13,
  AAX_eProperty_PlugInID_AudioSuite = 14,
  AAX_eProperty_InputStemFormat = 51,
  AAX_eProperty_OutputStemFormat = 52,
  AAX_eProperty_CanBypass = 60,
  AAX_eProperty_SupportsSideChainInput = 116,
  AAX_eProperty_Meter_Type = 200,
  AAX_eProperty_Meter_Orientation = 201,
};

enum AAX_EPlugInCategory : std::uint32_t { AAX_ePlugInCategory_Dynamics = 2 };

enum AAX_EMIDINodeType : std::int32_t {
  AAX_eMIDINodeType_LocalInput = 0,
  AAX_eMIDINodeType_LocalOutput = 1,
  AAX_eMIDINodeType_Transport = 3,
};

enum AAX_EResourceType : std::int32_t { AAX_eResourceType_PageTable = 1 };

enum AAX_EParameterType : std::int32_t {
  AAX_eParameterType_Discrete = 0,
  AAX_eParameterType_Continuous = 1,
};

/// Who changes a parameter.
enum AAX_EUpdateSource : std::int32_t {
  AAX_eUpdateSource_Unspecified = 0,
  AAX_eUpdateSource_Parameter = 1,
  AAX_eUpdateSource_Chunk = 2,
};

// Which function of an effect a registered pointer is.
inline constexpr AAX_CTypeID kAAX_ProcPtrID_Create_EffectParameters = AAX_TypeID("ePar");
inline constexpr AAX_CTypeID kAAX_ProcPtrID_Create_EffectGUI = AAX_TypeID("eGUI");

// Notifications from the host.
inline constexpr AAX_CTypeID AAX_eNotificationEvent_EnteringOfflineMode = AAX_TypeID("AXof");
inline constexpr AAX_CTypeID AAX_eNotificationEvent_ExitingOfflineMode = AAX_TypeID("AXox");
inline constexpr AAX_CTypeID AAX_eNotificationEvent_TrackNameChanged = AAX_TypeID("AXtn");
inline constexpr AAX_CTypeID AAX_eNotificationEvent_ASPreviewState = AAX_TypeID("ASPv");

inline constexpr AAX_CTypeID AAX_eCurveType_EQ = AAX_TypeID("AXeq");

/// The chunk that holds the values of all parameters.
inline constexpr AAX_CTypeID kAAX_ControlsChunkID = AAX_TypeID("elck");
inline constexpr const char* kAAX_ControlsChunkDescription = "Complete Controls State";

/// A stored state in transit: `fSize` bytes from `fData` on.
struct AAX_SPlugInChunk {
  std::int32_t fSize;
  std::int32_t fVersion;
  std::int32_t fManufacturerID;
  std::int32_t fProductID;
  std::int32_t fPlugInID;
  std::int32_t fChunkID;
  char fName[32];  ///< zero-terminated
  char fData[1];
};
static_assert(offsetof(AAX_SPlugInChunk, fData) == 56);

/// Up to four bytes of a message; longer messages come as several packets.
struct AAX_CMidiPacket {
  std::uint32_t mTimestamp;  ///< samples after the start of the buffer
  std::uint32_t mLength;     ///< bytes, up to 4
  unsigned char mData[4];
  AAX_CBoolean mIsImmediate;
};

struct AAX_CMidiStream {
  std::uint32_t mBufferSize;  ///< packets
  AAX_CMidiPacket* mBuffer;
};
