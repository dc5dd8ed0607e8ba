// The value rules decide how every stored number reads and writes: these
// cases are the ones that matter for files made by the program it replaces.

#include "core/values.h"
#include "failure_number.h"
#include "qt_print.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace mv;

namespace {
// A table of inputs and what each must give.
template <class In, class Out> using Cases = std::initializer_list<std::pair<In, Out>>;

// A row of inputs through fn, to compare with the row of texts they must give.
QStringList each(QString (*fn)(double), std::initializer_list<double> in) {
    QStringList out;
    for (double v : in)
        out << fn(v);
    return out;
}

} // namespace

// The leading number, blanks skipped anywhere; an exponent only with digits
// behind it.
TEST(NumericValue, LeadingNumberBlanksAndExponents) {
    const Cases<const char16_t*, double> cases = {
        {u"120@", 120}, {u"1234#1#1", 1234}, {u" 80^", 80},        {u"True", 0},    {u"", 0},
        {u"#3", 0},     {u" 1650 ", 1650},   {u"1 2\t3\n4", 1234}, {u"- 5", -5},    {u"+7x", 7},
        {u"--5", 0},    {u".995", 0.995},    {u"-.5", -0.5},       {u"5.", 5},      {u".", 0},
        {u"-", 0},      {u"1E3", 1000},      {u"2d2", 200},        {u"25E-1", 2.5}, {u"1E", 1},
        {u"3E+x", 3},   {u"12e5@", 1200000}};
    for (auto [text, want] : cases)
        EXPECT_DOUBLE_EQ(val(text), want) << QString::fromUtf16(text).toStdString();
    EXPECT_TRUE(std::isinf(val(u"1E999"))); // a number all the same; rounding then fails
}

// 15 digits hide the binary tail of 0.1 + 0.2.
TEST(NumberText, PlainShortestFormWithoutLeadingZero) {
    EXPECT_EQ(each(numberText, {1250, -3, 0.5, -0.25, 0, -0.0, 1990.0 / 0.5, 2000 / 0.9, 0.1 + 0.2,
                                1.05, 1e15, 123456789012345.0, 0.0001, 0.00001}),
              (QStringList{"1250", "-3", ".5", "-.25", "0", "0", "3980", "2222.22222222222", ".3",
                           "1.05", "1E+15", "123456789012345", ".0001", "1E-05"}));
}

// A 32-bit float keeps 7 significant digits; the 64-bit form keeps 15.
TEST(PrintForm, SignOrBlankThenNumberThenBlank) {
    EXPECT_EQ(each(printFormSingle, {1650, -3.5, 0.25, 0, 1650.66666, 123456789}),
              (QStringList{" 1650 ", "-3.5 ", " .25 ", " 0 ", " 1650.667 ", " 1.234568E+08 "}));
    EXPECT_EQ(printForm(1650.66666), " 1650.66666 ");
    // What the recorder writes reads back as the same number.
    EXPECT_FLOAT_EQ(static_cast<float>(val(printFormSingle(4110.4))), 4110.4f);
}

TEST(Rounding, NearestWithTiesToEvenAndOverflowFails) {
    const Cases<double, int> cases = {{2.5, 2},          {3.5, 4},         {-2.5, -2},
                                      {8500.4999, 8500}, {32767.4, 32767}, {-32768.5, -32768}};
    for (auto [v, want] : cases)
        EXPECT_EQ(roundWord(v), want) << v;
    for (double bad : {32767.5, -32769.0, std::nan(""), 1e6})
        EXPECT_EQ(failureNumber([&] { roundWord(bad); }), 6) << bad;
    EXPECT_EQ(roundLong(2147483647.4), 2147483647);
    EXPECT_EQ(failureNumber([&] { roundLong(2147483648.0); }), 6);
    EXPECT_EQ(failures::overflow().message(), "Error 6 Overflow"); // what the user is shown
}

// A number that must be the whole text, and a flag that must be exactly "True".
TEST(StrictTexts, WholeTextMustBeOneNumberAndOnlyExactTrueCounts) {
    const Cases<const char16_t*, double> cases = {{u" 80 ", 80}, {u".95", 0.95}, {u"-1.5E2", -150}};
    for (auto [text, want] : cases)
        EXPECT_DOUBLE_EQ(strictNumber(text), want) << QString::fromUtf16(text).toStdString();
    for (const char16_t* bad : {u"", u" ", u"30x", u"fast", u"1E", u".", u"1 2", u"--1"})
        EXPECT_EQ(failureNumber([&] { strictNumber(bad); }), 13)
            << QString::fromUtf16(bad).toStdString();
    EXPECT_TRUE(isTrueText(u"True"));
    for (const char16_t* no : {u"TRUE", u"true", u"-1", u"True "})
        EXPECT_FALSE(isTrueText(no)) << QString::fromUtf16(no).toStdString();
    EXPECT_EQ(flagOf(true), -1);
}
