#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "editing/edited_parameters.h"

class CrossoverEdits;
class LinkedEdits;

/// Adding, moving and deleting bands, each as one change and one step of the history: the order is
/// taken right after the move, and the engine hears of it when all parameters stand. The band's
/// locks and links end. A band that comes into the crossover stands where it is wanted, as far as
/// `roomInCrossover` finds, and the others make room; where locks leave none, nothing happens and
/// the user is told. Threads: message thread.
class ChainEdits {
 public:
  ChainEdits(EditedParameters& edited, CrossoverEdits& crossover, LinkedEdits& links) noexcept
      : parameters(edited), crossoverEdits(crossover), linkedEdits(links) {}

  /// Switches the first band of the Off list on in `list` at `frequency` (Hz), with all its other
  /// rows at their stored defaults. Returns the band; -1, with nothing changed, when all bands are
  /// in use or there is no room.
  int addBand(int list, double frequency);
  /// False, with nothing changed, when there is no such band or list, or no room.
  bool setBandPosition(int band, int list);
  void deleteBand(int band);
  /// Bands that listen to a band which is no crossover band any more hear their own band again.
  void checkSidechainSources();

 private:
  /// A group of the history that notes the frequencies while this lives.
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

  /// A place in the crossover, and the parameters of those that give way to it, with Hz.
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
