#include "align/align_cli.h"

#include "align/operations.h"
#include "core/clock.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "core/values.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstdio>
#include <cstring>
#include <optional>

namespace mv::align {

namespace {

// Settings files read for the CLI say nothing to anyone.
class SilentMessages final : public Messages {
  public:
    void msgBox(const QString&, const QString&) override {}
    bool yesNo(const QString&, const QString&) override { return false; }
    std::optional<QString> inputBox(const QString&, const QString&, const QString&) override {
        return std::nullopt;
    }
};

PlayTiming timingFrom(const QString& configDir) {
    SystemClock clock;
    SilentMessages quiet;
    Session s(clock, quiet);
    s.configDir = configDir;
    try {
        if (openSettings(s) && readLines1to37(s, {})) readLines38to60(s, false);
    } catch (const Failure&) {
        // A damaged settings file: what was read stands, the rest is built in.
    }
    s.files.closeAll();
    return playTimingOf(s);
}

QByteArray readFile(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        throw AlignError(QStringLiteral("Cannot read \"%1\".").arg(path).toStdString());
    return f.readAll();
}

// The output's folder must exist and the output must not be one of the inputs.
void checkOutput(const QString& out, const QStringList& inputs) {
    const QFileInfo o(out);
    if (!o.absoluteDir().exists())
        throw AlignError(
            QStringLiteral("Cannot write \"%1\": no such folder.").arg(out).toStdString());
    for (const QString& in : inputs)
        if (QFileInfo(in).absoluteFilePath() == o.absoluteFilePath())
            throw AlignError(QStringLiteral("Cannot write \"%1\": it is one of the inputs.")
                                 .arg(out)
                                 .toStdString());
}

} // namespace

int runAlignCommand(int argc, char** argv) {
    int op = -1;
    QString configDir;
    QStringList args;
    for (int i = 1; i < argc; ++i) {
        const char* a = argv[i];
        if (std::strcmp(a, "--tighten-map") == 0)
            op = 0;
        else if (std::strcmp(a, "--transfer-map") == 0)
            op = 1;
        else if (std::strcmp(a, "--config-dir") == 0 && i + 1 < argc)
            configDir = QString::fromLocal8Bit(argv[++i]);
        else if (std::strncmp(a, "--config-dir=", 13) == 0)
            configDir = QString::fromLocal8Bit(a + 13);
        else
            args << QString::fromLocal8Bit(a);
    }
    if (op < 0) return -1;
    const int want = op == 0 ? 3 : 4;
    if (args.size() != want) {
        std::fprintf(stderr, "%s\n",
                     op == 0 ? "Usage: mellivane --tighten-map SONG.mp3 IN.map OUT.map"
                             : "Usage: mellivane --transfer-map FROM.mp3 FROM.map TO.mp3 OUT.map");
        return 2;
    }
    if (configDir.isEmpty())
        configDir =
            qEnvironmentVariable("XDG_CONFIG_HOME", QDir::homePath() + QStringLiteral("/.config")) +
            QStringLiteral("/mellivane");
    try {
        const PlayTiming timing = timingFrom(configDir);
        const QString out = args.last();
        checkOutput(out, args.mid(0, want - 1));
        MapResult r = op == 0 ? tightenMap(args[0], readFile(args[1]), timing)
                              : transferMap(args[0], readFile(args[1]), args[2], timing);
        if (!writeFileAtomically(out, r.bytes))
            throw AlignError(QStringLiteral("Cannot write \"%1\".").arg(out).toStdString());
        std::printf("%d tics, %d moved, median shift %.0f ms, largest %.0f ms, %.2f s\n", r.tics,
                    r.moved, r.medianShiftMs, r.maxShiftMs, r.seconds);
        return 0;
    } catch (const AlignError& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 2;
    }
}

} // namespace mv::align
