#include "apps/audio_files/audio_tags.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <string_view>

#include "apps/audio_files/memory_file.h"
#include "apps/output/text.h"

namespace {

using Broadcast = AudioTags::Broadcast;
using AudioFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;

struct TextName {
  int number;
  const char* name;
  std::string_view id;  // in a LIST chunk of RIFF files
};
constexpr std::array<TextName, 9> kTexts = {{{SF_STR_TITLE, "title", "INAM"},
                                             {SF_STR_ARTIST, "artist", "IART"},
                                             {SF_STR_ALBUM, "album", "IPRD"},
                                             {SF_STR_TRACKNUMBER, "track number", "ITRK"},
                                             {SF_STR_GENRE, "genre", "IGNR"},
                                             {SF_STR_DATE, "date", "ICRD"},
                                             {SF_STR_COMMENT, "comment", "ICMT"},
                                             {SF_STR_COPYRIGHT, "copyright", "ICOP"},
                                             {SF_STR_LICENSE, "license", ""}}};

std::uint64_t timeOf(const Broadcast& broadcast) noexcept {
  return std::uint64_t{broadcast.time_reference_high} << 32 | broadcast.time_reference_low;
}

bool isSameDescription(const Broadcast& a, const Broadcast& b) noexcept {
  const auto isSame = [](const auto& one, const auto& other) {
    return std::strncmp(std::data(one), std::data(other), std::size(one)) == 0;
  };
  return isSame(a.description, b.description) && isSame(a.originator, b.originator) &&
         isSame(a.originator_reference, b.originator_reference) &&
         isSame(a.origination_date, b.origination_date) &&
         isSame(a.origination_time, b.origination_time) && std::ranges::equal(a.umid, b.umid);
}

/// The content of a chunk, with its identifier in `info`; neither if it is empty.
std::string contentOf(const SF_CHUNK_ITERATOR* chunk, SF_CHUNK_INFO& info) {
  constexpr unsigned kMostBytes = 1 << 20;
  if (sf_get_chunk_size(chunk, &info) != SF_ERR_NO_ERROR) return {};
  info.datalen = std::min(info.datalen, kMostBytes);
  std::string content(info.datalen, '\0');
  info.data = content.data();
  // The library divides by the length.
  if (content.empty() || sf_get_chunk_data(chunk, &info) != SF_ERR_NO_ERROR) return {};
  return content;
}

/// Adds a text of a LIST chunk unless the library has read it, as it does not with rare and long
/// ones.
void addUnread(std::string_view id, std::string text, AudioTags& tags) {
  constexpr std::size_t kLongestRead = 2000;
  constexpr std::string_view kWriter = "ISFT";
  const auto row = std::ranges::find(kTexts, id == "IPRT" ? "ITRK" : id, &TextName::id);
  const auto isOfRow = [&row](const auto& known) { return known.first == row->number; };
  if (id == kWriter || text.empty()) return;
  if (row == kTexts.end()) {
    tags.unread.emplace_back(trimmed(oneLine(id)));
  } else if (std::ranges::none_of(tags.texts, isOfRow)) {
    if (text.size() > kLongestRead) tags.unread.emplace_back(row->name);
    if (text.size() <= kLongestRead) tags.texts.emplace_back(row->number, std::move(text));
  }
}

void findUnreadTexts(std::string_view list, AudioTags& tags) {
  constexpr std::size_t kHead = 8;  // identifier and size
  if (!list.starts_with("INFO")) return;
  for (std::size_t place = 4; place + kHead < list.size();) {
    const std::string_view text = list.substr(place);
    std::size_t size = 0;
    for (std::size_t i = kHead; i-- > 4;) size = size << 8 | static_cast<unsigned char>(text[i]);
    const std::string_view content = text.substr(kHead, size);
    addUnread(text.substr(0, 4), std::string(content.substr(0, content.find('\0'))), tags);
    place += kHead + size + size % 2;
  }
}

/// Adds what a RIFF file tells in texts and chunks that the library does not read.
void findUnread(SNDFILE* file, AudioTags& tags) {
  constexpr std::array<std::string_view, 8> kTold = {"iXML", "axml", "_PMX", "cart",
                                                     "cue ", "smpl", "id3 ", "ID3 "};
  SF_INFO info{};
  sf_command(file, SFC_GET_CURRENT_SF_INFO, &info, sizeof info);
  const int container = info.format & SF_FORMAT_TYPEMASK;
  if (container != SF_FORMAT_WAV && container != SF_FORMAT_WAVEX && container != SF_FORMAT_RF64) {
    return;
  }
  SF_CHUNK_ITERATOR* chunk = sf_get_chunk_iterator(file, nullptr);
  for (; chunk != nullptr; chunk = sf_next_chunk_iterator(chunk)) {
    SF_CHUNK_INFO found{};
    const std::string content = contentOf(chunk, found);
    const std::string id(std::data(found.id), std::min<std::size_t>(found.id_size, 4));
    if (id == "LIST") {
      findUnreadTexts(content, tags);
    } else if (std::ranges::count(kTold, id) > 0) {
      tags.unread.emplace_back(trimmed(id));
    }
  }
}

/// The tags of an empty file that was written with `tags`.
AudioTags heldOf(SF_INFO info, const AudioTags& tags) {
  if (tags.texts.empty() && !tags.broadcast) return {};
  MemoryFile memory;
  SF_VIRTUAL_IO io = MemoryFile::callbacks();
  AudioFile file(sf_open_virtual(&io, SFM_WRITE, &info, &memory), &sf_close);
  if (file == nullptr) return {};
  writeTags(file.get(), tags);
  const std::vector<double> frame(static_cast<std::size_t>(info.channels));
  sf_writef_double(file.get(), frame.data(), 1);
  file.reset();
  memory.position = 0;
  info = {};
  file.reset(sf_open_virtual(&io, SFM_READ, &info, &memory));
  return file == nullptr ? AudioTags{} : readTags(file.get());
}

}  // namespace

void AudioTags::beginEarlier(std::int64_t frames) noexcept {
  if (!broadcast) return;
  const std::uint64_t time = timeOf(*broadcast);
  const std::uint64_t begin = time - std::min(time, static_cast<std::uint64_t>(frames));
  broadcast->time_reference_high = static_cast<std::uint32_t>(begin >> 32);
  broadcast->time_reference_low = static_cast<std::uint32_t>(begin);
}

AudioTags readTags(SNDFILE* file) {
  AudioTags tags;
  for (const TextName& row : kTexts) {
    const char* const text = sf_get_string(file, row.number);
    if (text != nullptr && *text != '\0') tags.texts.emplace_back(row.number, text);
  }
  findUnread(file, tags);
  Broadcast broadcast{};
  if (sf_command(file, SFC_GET_BROADCAST_INFO, &broadcast, sizeof broadcast) != SF_TRUE)
    return tags;
  if (broadcast.version >= 2) {
    // Measured on other samples.
    constexpr std::int16_t kUnknown = 0x7FFF;
    broadcast.loudness_value = broadcast.loudness_range = kUnknown;
    broadcast.max_true_peak_level = broadcast.max_momentary_loudness = kUnknown;
    broadcast.max_shortterm_loudness = kUnknown;
  }
  tags.broadcast = broadcast;
  return tags;
}

void writeTags(SNDFILE* file, const AudioTags& tags) {
  for (const auto& [number, text] : tags.texts) sf_set_string(file, number, text.c_str());
  if (!tags.broadcast) return;
  Broadcast broadcast = *tags.broadcast;
  sf_command(file, SFC_SET_BROADCAST_INFO, &broadcast, sizeof broadcast);
}

std::vector<std::string> lostTags(SF_INFO info, const AudioTags& tags) {
  const AudioTags held = heldOf(info, tags);
  std::vector<std::string> lost = tags.unread;
  for (const auto& text : tags.texts) {
    if (std::ranges::find(held.texts, text) != held.texts.end()) continue;
    lost.emplace_back(std::ranges::find(kTexts, text.first, &TextName::number)->name);
  }
  if (!tags.broadcast) return lost;
  if (!held.broadcast || !isSameDescription(*held.broadcast, *tags.broadcast)) {
    lost.emplace_back("BWF description");
  }
  if (!held.broadcast || timeOf(*held.broadcast) != timeOf(*tags.broadcast)) {
    lost.emplace_back("timecode");
  }
  return lost;
}
