#pragma once

// Errors of the dialect engine carry the dialect's own numbers and messages, raised as
// vb::VbError so that callers handle engine and runtime failures alike.

#include "vb/VbError.h"

#include <QString>
#include <QStringView>

namespace jet {

namespace err {
constexpr int InvalidStatement = 3129;   // not DELETE, INSERT, PROCEDURE, SELECT or UPDATE
constexpr int TooFewParameters = 3061;   // an unknown name, taken for a parameter
constexpr int MissingOperator = 3075;    // syntax error in a query expression
constexpr int NoInputTable = 3078;       // unknown table or query
constexpr int AmbiguousField = 3079;     // a name more than one source of the FROM clause has
constexpr int UnknownInsertField = 3127; // INSERT INTO names a column the table lacks
constexpr int DeleteWhichTable = 3128;   // DELETE from several sources without naming one
constexpr int NotUpdatable = 3073;       // UPDATE through a source no table row stands behind
constexpr int CannotDeleteFrom = 3086;   // DELETE names a source that is no table
constexpr int FileNotFound = 3024;       // IN names another database file
constexpr int NoInstallableIsam = 3170;  // IN names another kind of database
constexpr int UndefinedFunction = 3085;
constexpr int NotInAggregate = 3122;
constexpr int FromClause = 3131;
constexpr int InsertSyntax = 3134;
constexpr int UpdateSyntax = 3144;
constexpr int TextAfterEnd = 3142; // characters after the end of the statement
constexpr int TransformSyntax = 3143;
constexpr int ParameterSyntax = 3139;
constexpr int SelectSyntax = 3141; // reserved word, misspelled argument or punctuation
constexpr int DataTypeMismatch = 3464;
constexpr int CreateTableSyntax = 3290;
constexpr int DropSyntax = 3295;
constexpr int AlterTableSyntax = 3293;
constexpr int NotSupported = 3251; // a change of a table that its storage cannot make
constexpr int FieldExists = 3380;  // ALTER TABLE ADD of a column the table has
constexpr int NoSuchField = 3381;  // ALTER TABLE DROP of a column the table lacks
constexpr int IndexedField = 3280; // ALTER TABLE DROP of a column an index needs
constexpr int TableExists = 3010;
constexpr int FieldDefinedTwice = 3191; // SELECT ... INTO whose columns share a name
constexpr int NoSuchTable = 3376;
constexpr int TooComplex = 3360; // nested, deep or large beyond the parser's limits
constexpr int Syntax = 3000;     // anything else the parser refuses
} // namespace err

// The source every error of the engine carries, so a logged failure says the engine raised it.
inline constexpr QStringView kErrorSource = u"Tillsight Site Engine";

// An error of the engine: its number and text, under the engine's source.
vb::VbError engineError(int number, const QString& description);

// The dialect's message for a number, with the offending text (an expression, a table or a
// function name) where the message names one, and the table a column belongs to where it names
// both.
QString errorMessage(int number, const QString& subject = QString(),
                     const QString& table = QString());

// Throws vb::VbError(number, errorMessage(number, subject, table)).
[[noreturn]] void raise(int number, const QString& subject = QString(),
                        const QString& table = QString());

// A statement that declares parameters run without their values: 3061, counting them.
[[noreturn]] void raiseMissingParameters(int expected);

// A call with too many or too few arguments: 3075, in words of its own.
[[noreturn]] void raiseWrongArgumentCount(const QString& expression);

} // namespace jet
