#include "core/values.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

namespace mv {

namespace failures {
Failure overflow() { return {6, QStringLiteral("Overflow")}; }
Failure subscriptOutOfRange() { return {9, QStringLiteral("Subscript out of range")}; }
Failure typeMismatch() { return {13, QStringLiteral("Type mismatch")}; }
Failure badFileNumber() { return {52, QStringLiteral("Bad file name or number")}; }
Failure fileNotFound() { return {53, QStringLiteral("File not found")}; }
Failure fileAlreadyOpen() { return {55, QStringLiteral("File already open")}; }
Failure diskFull() { return {61, QStringLiteral("Disk full")}; }
Failure inputPastEnd() { return {62, QStringLiteral("Input past end of file")}; }
Failure pathFileAccess() { return {75, QStringLiteral("Path/File access error")}; }
Failure pathNotFound() { return {76, QStringLiteral("Path not found")}; }
Failure invalidProperty() { return {380, QStringLiteral("Invalid property value")}; }
} // namespace failures

namespace {

bool skippable(QChar c) { return c == u' ' || c == u'\t' || c == u'\n'; }
bool isDigit(QChar c) { return c >= u'0' && c <= u'9'; }

double parseAscii(const std::string& s) {
    if (s.empty()) return 0.0;
    double out = 0.0;
    auto [ptr, ec] = std::from_chars(s.data(), s.data() + s.size(), out);
    if (ec == std::errc::result_out_of_range) {
        // Huge exponents saturate; tiny ones are 0.  Either way a number.
        return (s.find("e-") != std::string::npos) ? 0.0
               : (s[0] == '-')                     ? -std::numeric_limits<double>::infinity()
                                                   : std::numeric_limits<double>::infinity();
    }
    if (ec != std::errc()) return 0.0;
    (void)ptr;
    return out;
}

// Drops a zero before the decimal point: "0.5" -> ".5", "-0.5" -> "-.5".
QString dropLeadingZero(QString s) {
    if (s.startsWith(QLatin1String("0.")))
        s.remove(0, 1);
    else if (s.startsWith(QLatin1String("-0.")))
        s.remove(1, 1);
    return s;
}

QString formatG(double v, int digits) {
    if (v == 0.0) return QStringLiteral("0"); // also turns -0 into 0
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*G", digits, v);
    QString s = QString::fromLatin1(buf);
    // C writes at least two exponent digits, as the classic form does
    // (1E+15, 2.5E-07); it never writes a "+" mantissa sign.
    return dropLeadingZero(s);
}

} // namespace

double val(QStringView text) {
    std::string num;
    qsizetype i = 0;
    const qsizetype n = text.size();
    auto skip = [&] {
        while (i < n && skippable(text[i]))
            ++i;
    };
    skip();
    if (i < n && (text[i] == u'-' || text[i] == u'+')) {
        if (text[i] == u'-') num += '-';
        ++i;
    }
    bool anyDigit = false;
    for (skip(); i < n && isDigit(text[i]); ++i, skip()) {
        num += char(text[i].unicode());
        anyDigit = true;
    }
    if (i < n && text[i] == u'.') {
        ++i;
        num += '.';
        for (skip(); i < n && isDigit(text[i]); ++i, skip()) {
            num += char(text[i].unicode());
            anyDigit = true;
        }
    }
    if (!anyDigit) return 0.0;
    if (i < n && (text[i] == u'E' || text[i] == u'e' || text[i] == u'D' || text[i] == u'd')) {
        qsizetype save = i;
        std::string exp = "e";
        ++i;
        skip();
        if (i < n && (text[i] == u'-' || text[i] == u'+')) {
            exp += char(text[i].unicode());
            ++i;
        }
        bool expDigit = false;
        for (skip(); i < n && isDigit(text[i]); ++i, skip()) {
            exp += char(text[i].unicode());
            expDigit = true;
        }
        if (expDigit)
            num += exp;
        else
            i = save;
    }
    if (num == "-" || num == "." || num == "-.") return 0.0;
    if (num.front() == '.') num.insert(num.begin(), '0');
    if (num.size() > 1 && num[0] == '-' && num[1] == '.') num.insert(num.begin() + 1, '0');
    if (num.back() == '.') num.pop_back();
    return parseAscii(num);
}

QString numberText(double v) { return formatG(v, 15); }

QString printFormSingle(double v) {
    const float f = static_cast<float>(v);
    QString body = formatG(static_cast<double>(f), 7);
    if (!body.startsWith(u'-')) body.prepend(u' ');
    return body + u' ';
}

QString printForm(double v) {
    QString body = formatG(v, 15);
    if (!body.startsWith(u'-')) body.prepend(u' ');
    return body + u' ';
}

int16_t roundWord(double v) {
    const double r = std::nearbyint(v);
    if (!(r >= -32768.0 && r <= 32767.0)) throw failures::overflow();
    return static_cast<int16_t>(r);
}

int32_t roundLong(double v) {
    const double r = std::nearbyint(v);
    if (!(r >= -2147483648.0 && r <= 2147483647.0)) throw failures::overflow();
    return static_cast<int32_t>(r);
}

double strictNumber(QStringView text) {
    QStringView t = text.trimmed();
    qsizetype i = 0;
    const qsizetype n = t.size();
    if (i < n && (t[i] == u'-' || t[i] == u'+')) ++i;
    bool digits = false;
    while (i < n && isDigit(t[i]))
        ++i, digits = true;
    if (i < n && t[i] == u'.') {
        ++i;
        while (i < n && isDigit(t[i]))
            ++i, digits = true;
    }
    if (!digits) throw failures::typeMismatch();
    if (i < n && (t[i] == u'E' || t[i] == u'e' || t[i] == u'D' || t[i] == u'd')) {
        ++i;
        if (i < n && (t[i] == u'-' || t[i] == u'+')) ++i;
        bool expDigits = false;
        while (i < n && isDigit(t[i]))
            ++i, expDigits = true;
        if (!expDigits) throw failures::typeMismatch();
    }
    if (i != n) throw failures::typeMismatch();
    const double v = val(t);
    if (std::isinf(v)) throw failures::overflow();
    return v;
}

} // namespace mv
