#pragma once
// A help window (HLPF "Help", PDFHelp "PDF Help"): a fixed text in a
// read-only scrolling field, Text1, and "Close" (Command1).  Loading it
// keeps the touch overlay down (OverlayArmed 0); unloading it, by "Close"
// or by its frame, lets the overlay come back (OverlayArmed -1).

#include <QWidget>

namespace mv {

struct Session;

class HelpWindow final : public QWidget {
    Q_OBJECT
  public:
    HelpWindow(Session& s, const QString& caption, const QString& text);
    ~HelpWindow() override;

  private:
    Session& s_;
};

} // namespace mv
