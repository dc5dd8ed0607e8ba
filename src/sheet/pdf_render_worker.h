#pragma once
// Renders PDF pages off the GUI thread.  It keeps its own document, opened
// on the first request for a path, and answers each request with a plain
// QImage of the page painted on white.

#include <QImage>
#include <QObject>
#include <QPdfDocument>

namespace mv {

class PdfRenderWorker : public QObject {
    Q_OBJECT
  public:
    void render(quint64 serial, const QString& path, int page, QSize size);

  signals:
    void rendered(quint64 serial, int page, QSize size, const QImage& image);

  private:
    QPdfDocument* doc_ = nullptr;
    QString path_;
};

} // namespace mv
