#pragma once
// Messages for scripted runs: each text is printed as "MESSAGE: text" on
// standard output, questions are answered Yes and input boxes cancelled, so
// an unattended run never stops at a modal box.

#include "core/messages.h"

#include <cstdio>

namespace mv {

class ConsoleMessages final : public Messages {
  public:
    void msgBox(const QString& text, const QString&) override { print(text); }
    bool yesNo(const QString& text, const QString&) override {
        print(text);
        return true;
    }
    std::optional<QString> inputBox(const QString& prompt, const QString&,
                                    const QString&) override {
        print(prompt);
        return std::nullopt;
    }

  private:
    static void print(const QString& t) {
        std::printf("MESSAGE: %s\n", qPrintable(t));
        std::fflush(stdout);
    }
};

} // namespace mv
