#include "vb/VbError.h"

namespace vb {

VbError::VbError(int number, const QString& description, const QString& source)
    : std::runtime_error(description.toStdString()), number_(number), description_(description),
      source_(source) {}

QString errorMessage(int number) {
    switch (number) {
    case err::InvalidProcedureCall:
        return QStringLiteral("Invalid procedure call or argument");
    case err::Overflow:
        return QStringLiteral("Overflow");
    case err::SubscriptOutOfRange:
        return QStringLiteral("Subscript out of range");
    case err::DivisionByZero:
        return QStringLiteral("Division by zero");
    case err::TypeMismatch:
        return QStringLiteral("Type mismatch");
    case err::InternalError:
        return QStringLiteral("Internal error");
    case err::PathFileAccessError:
        return QStringLiteral("Path/File access error");
    case err::ObjectNotSet:
        return QStringLiteral("Object variable or With block variable not set");
    case err::InvalidUseOfNull:
        return QStringLiteral("Invalid use of Null");
    case err::InvalidPropertyValue:
        return QStringLiteral("Invalid property value");
    case err::PrinterError:
        return QStringLiteral("Printer error");
    default:
        return QStringLiteral("Application-defined or object-defined error");
    }
}

void raise(int number) {
    throw VbError(number, errorMessage(number));
}

} // namespace vb
