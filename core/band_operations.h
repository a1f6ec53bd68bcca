#pragma once

class Plug;

/// Adding, moving and deleting bands, each as one change and one step of the history: the order is
/// taken right after the move, and the engine hears of it when all parameters stand. The band's
/// locks and links end. Threads: message thread.
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
  /// Notes for the history what an operation changes while this lives.
  class Step {
   public:
    explicit Step(Plug& effect);
    ~Step();
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;

   private:
    Plug& plug;
  };

  void set(int index, float normalised);
  void automate(int index, double plain);
  void automateOrder(float orderValue);
  void makeRoomAt(double frequency);

  Plug& plug;
};
