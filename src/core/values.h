#pragma once
// The value rules every subsystem shares: how a text becomes a number, how a
// number becomes text again, and how numbers are rounded.  Stored maps and
// settings files depend on these exact forms, so nothing else may convert.

#include <QString>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace mv {

// A flag is a 16-bit word: 0 false, -1 true.  Tests are "not 0".
using Flag = int16_t;
constexpr Flag kTrue = -1;
constexpr Flag kFalse = 0;
inline Flag flagOf(bool b) { return b ? kTrue : kFalse; }

// A run-time failure with a number and a description, as handlers report it:
// "Error " + number + " " + description.
class Failure : public std::runtime_error {
  public:
    Failure(int number, const QString& description)
        : std::runtime_error(description.toStdString()), number_(number),
          description_(description) {}
    int number() const { return number_; }
    const QString& description() const { return description_; }
    // "Error 6 Overflow"
    QString message() const { return QStringLiteral("Error %1 %2").arg(number_).arg(description_); }

  private:
    int number_;
    QString description_;
};

// The failures the program raises itself, with the classic numbers and texts.
namespace failures {
Failure overflow();            // 6 "Overflow"
Failure subscriptOutOfRange(); // 9 "Subscript out of range"
Failure typeMismatch();        // 13 "Type mismatch"
Failure badFileNumber();       // 52 "Bad file name or number"
Failure fileNotFound();        // 53 "File not found"
Failure fileAlreadyOpen();     // 55 "File already open"
Failure diskFull();            // 61 "Disk full"
Failure inputPastEnd();        // 62 "Input past end of file"
Failure pathFileAccess();      // 75 "Path/File access error"
Failure pathNotFound();        // 76 "Path not found"
Failure invalidProperty();     // 380 "Invalid property value"
} // namespace failures

// Numeric value of a text: never fails.  Blanks, tabs, CR and LF are skipped
// wherever they stand (" 1 2" is 12); then an optional sign, digits, an
// optional fraction and an optional exponent (E or D) are taken; the first
// other character ends the number.  No leading number gives 0.
//   "120@" -> 120, "1234#1#1" -> 1234, " 80^" -> 80, "True" -> 0, "" -> 0
double val(QStringView text);

// Number text: the plain form of a computed number, no thousands mark, no
// zero before the point, up to 15 significant digits: 1250, -3, .5, -.25.
// Magnitudes of 1E+15 and above, or below 1E-05, use the exponent form
// (1E+15, 2.5E-07).
QString numberText(double v);

// Print form as the recorder writes X and Y: a blank or "-", the number as a
// 32-bit float in its shortest form (7 significant digits at most), a blank.
//   1650 -> " 1650 ", -3.5 -> "-3.5 ", 0.25 -> " .25 "
QString printFormSingle(double v);
// The same for a 64-bit value (15 significant digits).
QString printForm(double v);

// Whole number nearest to v, ties to even.  A value that does not fit, or is
// not a number, is failure 6 "Overflow".
int16_t roundWord(double v);
int32_t roundLong(double v);

// Strict conversion of a field's text to a number (the two fields that are
// converted strictly use this): blanks around the number are allowed, the rest
// must be one complete number.  Anything else is failure 13 "Type mismatch".
double strictNumber(QStringView text);

// "True" and only "True" is true.  Stored flags compare exactly.
inline bool isTrueText(QStringView t) { return t == u"True"; }
inline QString boolText(bool b) { return b ? QStringLiteral("True") : QStringLiteral("False"); }

} // namespace mv
