#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

#include "dynamics/bands.h"
#include "platform/plug_base_mutex.h"

/// Number of the four lists of a `BandLayout`.
enum BandList : int { kPreList = 0, kXoverList = 1, kPostList = 2, kOffList = 3 };

/// The shape of the chain: which bands run before the crossover, inside it, after it, or not at
/// all. The lists one after the other are `order`; the XOver list ascends by frequency.
///
/// Threads: any but the audio thread. Operations take the lock themselves; the fields are read and
/// written under it (`Scope`). The audio thread sees the chain through the engine's packed words
/// alone.
class BandLayout : public PlugBaseMutex {
 public:
  using List = std::vector<std::int32_t>;
  /// A packed order times this is whole: seven band numbers of three bits.
  static constexpr double kOrderScale = 2097152.0;  // 2^21

  /// Band 0 in the XOver list, the others off.
  BandLayout();

  /// Takes a packed order (`bandOrderValue`) and sorts the bands into the four lists by `state`,
  /// `isXover` and `frequency`. False, with everything as it was, when the value names a band twice
  /// or the order breaks the chain: Pre, XOver by rising frequency, Post, Off.
  bool applyBandOrder(double value);
  /// As `applyBandOrder`, but makes the best of an order that it refuses: bands keep the order
  /// told, or else that of their numbers; dynamic EQ bands told ahead of the first crossover band
  /// are Pre; crossover bands rise by frequency, and only those at equal ones still break the
  /// chain.
  void arrangeBands(double value);
  /// The present order: the first seven bands, three bits each from the lowest up, times 2^-21.
  [[nodiscard]] double bandOrderValue();
  /// Moves a band into a list, before the first band that is not below it in frequency. A frequency
  /// of 0 keeps the stored one (Hz). Nothing happens when the band is in that list already.
  void moveBand(int band, int list, double frequency);
  /// Where a band stands; an unknown one is off.
  struct Place {
    int list = kOffList;
    int index = -1;  ///< in the list
  };
  [[nodiscard]] Place placeOf(int band);
  /// The band's place in the XOver list, or -1.
  [[nodiscard]] int crossoverIndex(int band);
  /// Another number whenever the lists have become others; any thread.
  [[nodiscard]] unsigned revision() const noexcept { return changes.load(); }
  /// Copies of lists, taken under the lock.
  [[nodiscard]] List copyOf(const List& list);

  std::array<bool, kNumBands> state{};    ///< the band is active
  std::array<bool, kNumBands> isXover{};  ///< the band is a crossover band
  std::array<std::int32_t, kNumBands> order{};
  List pre;
  List post;
  List xover;
  List off;
  List orderList;                             ///< as `order`
  std::array<double, kNumBands> frequency{};  ///< Hz, each band's centre

 private:
  using Lists = std::array<List, 4>;  // by `BandList`
  using Order = std::array<std::int32_t, kNumBands>;

  [[nodiscard]] static bool decodeOrder(double value, Order& decoded) noexcept;
  [[nodiscard]] std::size_t listFor(std::int32_t band, bool behindCrossover) const;
  [[nodiscard]] bool sortIntoLists(const Order& wanted, Lists& lists) const;
  [[nodiscard]] List& listNumber(int list) noexcept;
  void takeLists(Lists&& lists);
  void rebuildOrder();

  std::atomic<unsigned> changes{0};
};
