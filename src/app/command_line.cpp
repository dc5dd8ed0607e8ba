#include "app/command_line.h"

#include <QApplication>
#include <memory>
#include <vector>

namespace mv {

Options addOptions(QCommandLineParser& cl) {
    cl.setApplicationDescription(QStringLiteral("Sheet music that follows the recording."));
    cl.addHelpOption();
    cl.addVersionOption();
    Options o;
    cl.addOptions({o.script, o.audio, o.demo, o.songs, o.configDir, o.startupTime, o.tightenMap,
                   o.transferMap});
    return o;
}

QStringList withoutQtOptions(const QStringList& args) {
    // Those of QGuiApplication, of its X11 platform and of QApplication.
    // One too many here only leaves its check to the parse after
    // QApplication, which reports it all the same.
    static const QStringList withValue =
        QStringLiteral("platform platformpluginpath platformtheme plugin qwindowgeometry "
                       "qwindowicon qwindowtitle session display geometry title icon name "
                       "style stylesheet")
            .split(u' ');
    static const QStringList plain =
        QStringLiteral("reverse widgetcount nograb dograb testability qmljsdebugger").split(u' ');
    QStringList out = args.mid(0, 1);
    for (qsizetype i = 1; i < args.size(); ++i) {
        const QString& a = args[i];
        if (a == u"--") {
            out << args.mid(i);
            break;
        }
        const QString word = a.startsWith(u"--") ? a.mid(2) : a.startsWith(u'-') ? a.mid(1) : a;
        const QString name = word.section(u'=', 0, 0);
        if (word == a || name.isEmpty()) {
            out << a;
        } else if (withValue.contains(name)) {
            if (!word.contains(u'=')) ++i; // the value is the next argument
        } else if (!plain.contains(name)) {
            out << a;
        }
    }
    return out;
}

int answerWithoutDisplay(int argc, char** argv) {
    QStringList args;
    for (int i = 0; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);
    const QStringList own = withoutQtOptions(args);
    QCommandLineParser check;
    addOptions(check);
    const bool parsed = check.parse(own);
    if (parsed && !check.isSet(QStringLiteral("help")) &&
        !check.isSet(QStringLiteral("help-all")) && !check.isSet(QStringLiteral("version")))
        return -1;
    std::vector<QByteArray> bytes;
    for (const QString& a : own)
        bytes.push_back(a.toLocal8Bit());
    std::vector<char*> ptrs;
    for (QByteArray& b : bytes)
        ptrs.push_back(b.data());
    ptrs.push_back(nullptr);
    int n = int(bytes.size());
    // --help-all lists Qt's own options too, which only a QApplication
    // knows: one on the offscreen platform, which needs no display.
    std::unique_ptr<QCoreApplication> bare;
    if (parsed && check.isSet(QStringLiteral("help-all"))) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        bare = std::make_unique<QApplication>(n, ptrs.data());
    } else {
        bare = std::make_unique<QCoreApplication>(n, ptrs.data());
    }
    QCommandLineParser cl;
    addOptions(cl);
    cl.process(own); // prints, and ends the process
    return 1;
}

} // namespace mv
