// The user's wish that the program ends.
#pragma once

namespace velmora::host::cli {

// The user wants the program to end.
struct Interrupted {};

// Becomes readable when the user wants to end the program, which no longer ends by itself then. To
// be made before there is any other thread.
class EndSignals {
 public:
  EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;
  ~EndSignals();

  [[nodiscard]] int descriptor() const { return descriptor_; }

  // Throws Interrupted when one has come. Any thread may ask.
  void check() const;

 private:
  int descriptor_ = -1;
};

}  // namespace velmora::host::cli
