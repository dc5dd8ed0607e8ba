#pragma once
// Messages for scripted runs: each text is printed as "MESSAGE: text" on
// standard output, so an unattended run never stops at a modal box.
// Questions take the script's answers in order ("answer yes|no"), else Yes;
// input boxes take its texts in order ("input TEXT", "input" alone answers
// an empty text, "cancel" cancels), else they are cancelled.

#include "app/action_script.h"
#include "core/messages.h"

#include <cstdio>
#include <deque>

namespace mv {

class ConsoleMessages final : public Messages {
  public:
    void msgBox(const QString& text, const QString&) override { print(text); }
    bool yesNo(const QString& text, const QString&) override {
        print(text);
        if (yesNo_.empty()) return true;
        const bool a = yesNo_.front();
        yesNo_.pop_front();
        return a;
    }
    std::optional<QString> inputBox(const QString& prompt, const QString&,
                                    const QString&) override {
        print(prompt);
        if (inputs_.empty()) return std::nullopt;
        const std::optional<QString> a = inputs_.front();
        inputs_.pop_front();
        return a;
    }
    // The script's verbs "answer", "input" and "cancel" queue the answers of
    // the next questions and input boxes.
    void addScriptAnswers(ActionScript& script) {
        script.extra[QStringLiteral("answer")] = [this](const QStringList& a) {
            yesNo_.push_back(a.value(0).compare(QLatin1String("no"), Qt::CaseInsensitive) != 0);
        };
        script.extra[QStringLiteral("input")] = [this](const QStringList& a) {
            inputs_.push_back(a.join(u' '));
        };
        script.extra[QStringLiteral("cancel")] = [this](const QStringList&) {
            inputs_.push_back(std::nullopt);
        };
    }

  private:
    std::deque<bool> yesNo_;
    std::deque<std::optional<QString>> inputs_;
    static void print(const QString& t) {
        std::printf("MESSAGE: %s\n", qPrintable(t));
        std::fflush(stdout);
    }
};

} // namespace mv
