// The help texts name the keys the sheet really handles: every "NAME (keys
// ...)" in either text is checked against the sheet's key table, and the
// table against the key handlers of the sheet and of the main window.

#include "core/session_state.h"
#include "core/setup_screen.h"
#include "help/help_install.h"
#include "qt_print.h"
#include "sheet/navigation.h"
#include "stage.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace mv;

namespace {

// "N, / and ?" -> "n/?"; "SPACE BAR" is the blank.
QString keysOfList(QString list) {
    list.replace(QStringLiteral("SPACE BAR"), QStringLiteral(" "), Qt::CaseInsensitive);
    list.replace(QStringLiteral(" and "), QStringLiteral(","));
    QString keys;
    for (const QString& k : list.split(u','))
        keys += k == u" " ? k : k.trimmed().toLower();
    return keys;
}

QString sorted(QString s) {
    std::sort(s.begin(), s.end());
    return s;
}

const SheetKeyRow* rowOf(const QString& topic) {
    for (const SheetKeyRow& r : sheetKeys().rows)
        if (topic.endsWith(QLatin1String(r.helpTopic), Qt::CaseInsensitive)) return &r;
    return nullptr;
}

QString allKeys() {
    QString all;
    for (const SheetKeyRow& r : sheetKeys().rows)
        all += QLatin1String(r.keys);
    return all;
}

} // namespace

TEST(HelpKeys, EveryKeyListInTheHelpMatchesTheSheetsKeyTable) {
    // "Next Page (keys N, / and ?)", "MANUAL SCROLL (key M)", "M PLAY (keys ...)".
    const QRegularExpression listed(QStringLiteral(R"(([A-Za-z][A-Za-z ]*) \(keys? ([^)]*)\))"));
    for (const char* window : {"HLPF", "PDFHelp"}) {
        const QString text = helpText(QLatin1String(window)).simplified();
        ASSERT_FALSE(text.isEmpty()) << window;
        int lists = 0;
        for (auto it = listed.globalMatch(text); it.hasNext(); ++lists) {
            const auto m = it.next();
            const QString topic = m.captured(1).trimmed(), keys = keysOfList(m.captured(2));
            if (const SheetKeyRow* row = rowOf(topic)) {
                EXPECT_EQ(sorted(keys), sorted(QLatin1String(row->keys)))
                    << window << ": " << qPrintable(topic);
            } else {
                // A topic over several operations (M PLAY): each key is a sheet key.
                for (QChar k : keys)
                    EXPECT_TRUE(allKeys().contains(k))
                        << window << ": " << qPrintable(topic) << " '" << k.toLatin1() << "'";
            }
        }
        EXPECT_GE(lists, 4) << window;
    }
    // Every operation with keys has its topic in the sheet's help.
    const QString pdf = helpText(QStringLiteral("PDFHelp"));
    for (const SheetKeyRow& r : sheetKeys().rows)
        EXPECT_TRUE(pdf.contains(QLatin1String(r.helpTopic) + QLatin1String(" (key")))
            << r.helpTopic;
}

TEST(HelpKeys, TheSheetAndTheMainWindowRunTheOperationOfEachKeyInTheTable) {
    // Which operation ran, seen through the main window's installed hooks and
    // through the table's own operations.
    for (const SheetKeyRow& row : sheetKeys().rows) {
        for (QChar key : QString::fromLatin1(row.keys)) {
            test::Stage stage;
            Session& s = stage.s;
            QStringList ran;
            s.adobeF_Command3_Click = [&] { ran << "NEXT PAGE"; };
            s.adobeF_Command4_Click = [&] { ran << "PREV PAGE"; };
            s.adobeF_Command6_Click = [&] { ran << "MANUAL SCROLL"; };
            s.adobeF_Command14_Click = [&] { ran << "AUTO SCROLL"; };
            if (key == u' ') { // the focused Auto Scroll button's activation
                EXPECT_FALSE(sheetKeyPress(s, key));
                continue;
            }
            EXPECT_TRUE(Velmor_KeyPress(s, key)) << key.toLatin1();
            EXPECT_EQ(ran, QStringList{row.helpTopic}) << key.toLatin1();
            if (key.isLetter()) { // capitals do nothing
                EXPECT_FALSE(Velmor_KeyPress(s, key.toUpper()));
            }
        }
    }
}
