#pragma once
// Message boxes, Yes/No questions and input boxes.  The program asks through
// this one interface so that tests can read every text and answer questions.

#include <QString>
#include <functional>
#include <optional>

class QWidget;

namespace mv {

class Messages {
  public:
    virtual ~Messages() = default;
    // A modal message box with `text`; `title` empty means the program's name.
    virtual void msgBox(const QString& text, const QString& title = {}) = 0;
    // Yes/No question; true for Yes.
    virtual bool yesNo(const QString& text, const QString& title = {}) = 0;
    // Input box; nullopt when cancelled.
    virtual std::optional<QString> inputBox(const QString& prompt, const QString& title = {},
                                            const QString& initial = {}) = 0;
};

// The last guard of a handler of a user event, where a window hands the event
// to the logic: runs `handler`, and a failure that gets out of it is shown
// ("Error 6 Overflow") and goes no further, so that none reaches Qt's event
// dispatch and ends the program.  Handlers deal with their own failures as
// their design says; this is only the net under them.
void runGuarded(Messages& messages, const std::function<void()>& handler);

// Real dialogs over the active window.
class QtMessages final : public Messages {
  public:
    void msgBox(const QString& text, const QString& title = {}) override;
    bool yesNo(const QString& text, const QString& title = {}) override;
    std::optional<QString> inputBox(const QString& prompt, const QString& title = {},
                                    const QString& initial = {}) override;
};

} // namespace mv
