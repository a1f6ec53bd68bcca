#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "editing/edited_parameters.h"

class CrossoverEdits;
class LinkedEdits;

/// Adding, moving and deleting bands. Each call is one undo step, and the engine takes it as one
/// once all parameters are set. The band loses its locks and links. A band new to the crossover
/// gets the frequency it asks for as nearly as `roomInCrossover` allows, and the others make room;
/// if locks leave no room, nothing changes and the user is told. Threads: message thread.
class ChainEdits {
 public:
  ChainEdits(EditedParameters& edited, CrossoverEdits& crossover, LinkedEdits& links) noexcept
      : parameters(edited), crossoverEdits(crossover), linkedEdits(links) {}

  /// Switches on the first band of the Off list, in `list` at `frequency` (Hz), with all other rows
  /// at the band template's values. Returns the band; -1, with nothing changed, if all bands are in
  /// use or there is no room.
  int addBand(int list, double frequency);
  /// False, with nothing changed, if there is no such band or list, or no room.
  bool setBandPosition(int band, int list);
  void deleteBand(int band);
  /// Lets bands whose sidechain listens to a band that has left the crossover hear themselves
  /// again.
  void checkSidechainSources();

 private:
  /// A history group that also records the frequencies of all bands.
  class NotedGroup {
   public:
    explicit NotedGroup(EditedParameters& edited);
    ~NotedGroup();
    NotedGroup(const NotedGroup&) = delete;
    NotedGroup& operator=(const NotedGroup&) = delete;

   private:
    EditedParameters& parameters;
    const HistoryGroup group;
  };

  /// A frequency for a band in the crossover, and the frequencies (parameter, Hz) of those bands
  /// that must give way to it.
  struct Room {
    float own = 0.0F;  // normalised
    std::vector<std::pair<int, double>> moves;
  };

  [[nodiscard]] double frequencyOf(const Room& room) const;
  void freeBand(int band);
  void set(int index, float normalised);
  void automate(int index, double plain);
  void automateOrder(float plain);
  [[nodiscard]] std::optional<Room> findRoom(int band, float wanted, bool isNew);
  void makeRoom(const Room& room);
  void repairOrder();

  EditedParameters& parameters;
  CrossoverEdits& crossoverEdits;
  LinkedEdits& linkedEdits;
};
