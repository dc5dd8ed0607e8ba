#pragma once
// Message boxes, Yes/No questions and input boxes.  The program asks through
// this one interface so that tests can read every text and answer questions.

#include <QString>
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

// Real dialogs over the active window.
class QtMessages final : public Messages {
  public:
    void msgBox(const QString& text, const QString& title = {}) override;
    bool yesNo(const QString& text, const QString& title = {}) override;
    std::optional<QString> inputBox(const QString& prompt, const QString& title = {},
                                    const QString& initial = {}) override;
};

} // namespace mv
