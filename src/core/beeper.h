#pragma once
// The system's beep: a tone of `hz` for `ms`.  The call returns when the beep
// has ended and lets no events run meanwhile, like the classic system call.

#include <QString>

namespace mv {

class Beeper {
  public:
    virtual ~Beeper() = default;
    virtual void beep(int hz, int ms) = 0;
    // The output the beeps go to, by the name Audio Out lists; empty: the
    // system's default.  Kept for beeps not yet started.
    virtual void setAudioDevice(const QString& name) = 0;
};

} // namespace mv
