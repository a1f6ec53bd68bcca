#pragma once

class Plug;

/// Adding, moving and deleting bands, each as one change: the order is taken right after the move,
/// and the engine hears of it when all parameters stand. Threads: message thread.
class BandOperations {
 public:
  explicit BandOperations(Plug& effect) noexcept : plug(effect) {}

  /// Switches the first band of the Off list on in `list` at `frequency` (Hz), with all its other
  /// rows at their stored defaults. Nothing happens when all bands are in use.
  void addBand(int list, double frequency);
  void setBandPosition(int band, int list);
  void deleteBand(int band);
  /// Bands that listen to a band which is no crossover band any more hear their own band again.
  void checkSidechainSources();

 private:
  void automate(int index, double plain);
  void automateOrder(float orderValue);
  void makeRoomAt(double frequency);

  Plug& plug;
};
