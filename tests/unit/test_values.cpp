// The value rules decide how every stored number reads and writes: these
// cases are the ones that matter for files made by the program it replaces.

#include "core/values.h"
#include "qt_print.h"

#include <gtest/gtest.h>

using namespace mv;

TEST(NumericValue, TakesTheLeadingNumberAndSkipsBlanksAnywhere) {
    EXPECT_EQ(val(u"120@"), 120);
    EXPECT_EQ(val(u"1234#1#1"), 1234);
    EXPECT_EQ(val(u" 80^"), 80);
    EXPECT_EQ(val(u"True"), 0);
    EXPECT_EQ(val(u""), 0);
    EXPECT_EQ(val(u"#3"), 0);
    EXPECT_EQ(val(u" 1650 "), 1650);
    EXPECT_EQ(val(u"1 2\t3\n4"), 1234);
    EXPECT_EQ(val(u"- 5"), -5);
    EXPECT_EQ(val(u"+7x"), 7);
    EXPECT_EQ(val(u"--5"), 0);
    EXPECT_DOUBLE_EQ(val(u".995"), 0.995);
    EXPECT_DOUBLE_EQ(val(u"-.5"), -0.5);
    EXPECT_DOUBLE_EQ(val(u"5."), 5);
    EXPECT_EQ(val(u"."), 0);
    EXPECT_EQ(val(u"-"), 0);
}

TEST(NumericValue, ExponentOnlyWithDigitsBehindIt) {
    EXPECT_EQ(val(u"1E3"), 1000);
    EXPECT_EQ(val(u"2d2"), 200);
    EXPECT_DOUBLE_EQ(val(u"25E-1"), 2.5);
    EXPECT_EQ(val(u"1E"), 1);
    EXPECT_EQ(val(u"3E+x"), 3);
    EXPECT_EQ(val(u"12e5@"), 1200000);
    EXPECT_TRUE(std::isinf(val(u"1E999"))); // a number all the same; rounding then fails
}

TEST(NumberText, PlainShortestFormWithoutLeadingZero) {
    EXPECT_EQ(numberText(1250), "1250");
    EXPECT_EQ(numberText(-3), "-3");
    EXPECT_EQ(numberText(0.5), ".5");
    EXPECT_EQ(numberText(-0.25), "-.25");
    EXPECT_EQ(numberText(0), "0");
    EXPECT_EQ(numberText(-0.0), "0");
    EXPECT_EQ(numberText(1990.0 / 0.5), "3980");
    EXPECT_EQ(numberText(2000 / 0.9), "2222.22222222222");
    EXPECT_EQ(numberText(0.1 + 0.2), ".3"); // 15 digits hide the binary tail
    EXPECT_EQ(numberText(1.05), "1.05");
    EXPECT_EQ(numberText(1e15), "1E+15");
    EXPECT_EQ(numberText(123456789012345.0), "123456789012345");
    EXPECT_EQ(numberText(0.0001), ".0001");
    EXPECT_EQ(numberText(0.00001), "1E-05");
}

TEST(PrintForm, SignOrBlankThenNumberThenBlank) {
    EXPECT_EQ(printFormSingle(1650), " 1650 ");
    EXPECT_EQ(printFormSingle(-3.5), "-3.5 ");
    EXPECT_EQ(printFormSingle(0.25), " .25 ");
    EXPECT_EQ(printFormSingle(0), " 0 ");
    // A 32-bit float keeps 7 significant digits.
    EXPECT_EQ(printFormSingle(1650.66666), " 1650.667 ");
    EXPECT_EQ(printFormSingle(123456789), " 1.234568E+08 ");
    EXPECT_EQ(printForm(1650.66666), " 1650.66666 ");
    // What the recorder writes reads back as the same number.
    EXPECT_FLOAT_EQ(static_cast<float>(val(printFormSingle(4110.4))), 4110.4f);
}

TEST(Rounding, NearestWithTiesToEvenAndOverflowFails) {
    EXPECT_EQ(roundWord(2.5), 2);
    EXPECT_EQ(roundWord(3.5), 4);
    EXPECT_EQ(roundWord(-2.5), -2);
    EXPECT_EQ(roundWord(8500.4999), 8500);
    EXPECT_EQ(roundWord(32767.4), 32767);
    EXPECT_EQ(roundWord(-32768.5), -32768);
    EXPECT_THROW(roundWord(32767.5), Failure);
    EXPECT_THROW(roundWord(-32769), Failure);
    EXPECT_THROW(roundWord(std::nan("")), Failure);
    EXPECT_EQ(roundLong(2147483647.4), 2147483647);
    EXPECT_THROW(roundLong(2147483648.0), Failure);
    try {
        roundWord(1e6);
    } catch (const Failure& f) {
        EXPECT_EQ(f.number(), 6);
        EXPECT_EQ(f.message(), "Error 6 Overflow");
    }
}

TEST(StrictNumber, WholeTextMustBeOneNumber) {
    EXPECT_EQ(strictNumber(u" 80 "), 80);
    EXPECT_DOUBLE_EQ(strictNumber(u".95"), 0.95);
    EXPECT_DOUBLE_EQ(strictNumber(u"-1.5E2"), -150);
    for (const char16_t* bad : {u"", u" ", u"30x", u"fast", u"1E", u".", u"1 2", u"--1"}) {
        try {
            strictNumber(bad);
            ADD_FAILURE() << "accepted " << QString::fromUtf16(bad).toStdString();
        } catch (const Failure& f) {
            EXPECT_EQ(f.number(), 13);
        }
    }
}

TEST(Flags, OnlyExactTrueCounts) {
    EXPECT_TRUE(isTrueText(u"True"));
    EXPECT_FALSE(isTrueText(u"TRUE"));
    EXPECT_FALSE(isTrueText(u"true"));
    EXPECT_FALSE(isTrueText(u"-1"));
    EXPECT_FALSE(isTrueText(u"True "));
    EXPECT_EQ(flagOf(true), -1);
}
