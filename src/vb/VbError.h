#pragma once

#include <QString>
#include <stdexcept>

namespace vb {

// A run-time error with the language's number and message, so callers (and the dialect engine)
// can report failures exactly as the original runtime would. The source names the component that
// raised it; an error without one is the program's own, raised by the runtime.
class VbError : public std::runtime_error {
public:
    VbError(int number, const QString& description, const QString& source = QString());
    int number() const noexcept { return number_; }
    const QString& description() const noexcept { return description_; }
    const QString& source() const noexcept { return source_; }

private:
    int number_;
    QString description_;
    QString source_;
};

namespace err {
constexpr int InvalidProcedureCall = 5;
constexpr int Overflow = 6;
constexpr int SubscriptOutOfRange = 9;
constexpr int DivisionByZero = 11;
constexpr int TypeMismatch = 13;
constexpr int InternalError = 51;
constexpr int PathFileAccessError = 75;
constexpr int ObjectNotSet = 91;
constexpr int InvalidUseOfNull = 94;
constexpr int InvalidPropertyValue = 380;
constexpr int PrinterError = 482;
} // namespace err

// The language's standard message for an error number ("Overflow" for 6, ...).
QString errorMessage(int number);

// Throws VbError(number, errorMessage(number)).
[[noreturn]] void raise(int number);

} // namespace vb
