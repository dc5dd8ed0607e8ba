#pragma once
// The system's beep: a tone of `hz` for `ms`.  The call returns when the beep
// has ended and lets no events run meanwhile, like the classic system call.

namespace mv {

class Beeper {
  public:
    virtual ~Beeper() = default;
    virtual void beep(int hz, int ms) = 0;
};

} // namespace mv
