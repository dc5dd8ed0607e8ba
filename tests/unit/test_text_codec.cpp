// Windows-made bytes must come back byte for byte, and text beyond the code
// page must travel as UTF-8 and be told apart from it by the bytes alone.

#include "core/text_codec.h"
#include "qt_print.h"

#include <gtest/gtest.h>

using namespace mv;

TEST(TextCodec, DecodesEitherFormAndEncodesItBack) {
    struct Case {
        QByteArray bytes;
        QString text;
        TextEncoding enc;
    };
    const Case cases[] = {
        {"Don\x92t \x80 caf\xE9", u"Don\u2019t \u20AC caf\u00E9"_qs, TextEncoding::Windows1252},
        {"\x81\x8D\x8F\x90\x9D", u"\u0081\u008D\u008F\u0090\u009D"_qs, TextEncoding::Windows1252},
        {"plain", u"plain"_qs, TextEncoding::Windows1252},
        {"caf\xC3\xA9 Don\xE2\x80\x99t", u"caf\u00E9 Don\u2019t"_qs, TextEncoding::Utf8},
        {"\xD0\x9A\xD0\xB0\xD0\xBB\xD0\xB8\xD0\xBD\xD0\xBA\xD0\xB0", u"Калинка"_qs,
         TextEncoding::Utf8},
        // Not valid UTF-8 (a lead byte without its follower, an overlong form).
        {"\xC3(", u"\u00C3("_qs, TextEncoding::Windows1252},
        {"\xC0\xAF", u"\u00C0\u00AF"_qs, TextEncoding::Windows1252},
    };
    for (const auto& c : cases) {
        TextEncoding used{};
        EXPECT_EQ(decodeText(c.bytes, &used), c.text) << c.bytes.toHex().constData();
        EXPECT_EQ(used, c.enc) << c.bytes.toHex().constData();
        EXPECT_EQ(encodeText(c.text, used), c.bytes) << c.bytes.toHex().constData();
    }
}

TEST(TextCodec, NewTextTakesTheCodePageOnlyWhenEveryCharacterFits) {
    const std::pair<QString, TextEncoding> cases[] = {
        {u"Don\u2019t Stop"_qs, TextEncoding::Windows1252},
        {u"\u00C9lan \u00FCber \u0178"_qs, TextEncoding::Windows1252},
        {u"Калинка"_qs, TextEncoding::Utf8},
        {u"Don\u2019t \u2192"_qs, TextEncoding::Utf8},
        {u"\U0001F3B5"_qs, TextEncoding::Utf8},
    };
    for (const auto& [text, enc] : cases)
        EXPECT_EQ(preferredEncoding(text), enc) << text.toStdString();
    EXPECT_EQ(toWindows1252(u"a\u2192b"), QByteArray("a?b"));
}
