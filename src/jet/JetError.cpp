#include "jet/JetError.h"

namespace jet {

QString errorMessage(int number, const QString& subject, const QString& table) {
    switch (number) {
    case err::InvalidStatement:
        return QStringLiteral("Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', "
                              "'SELECT', or 'UPDATE'.");
    case err::TooFewParameters:
        return QStringLiteral("Too few parameters. Expected 1. (Unknown name '%1'.)").arg(subject);
    case err::MissingOperator:
        return QStringLiteral("Syntax error (missing operator) in query expression '%1'.")
            .arg(subject);
    case err::NoInputTable:
        return QStringLiteral("The database engine cannot find the input table or query '%1'. "
                              "Make sure it exists and that its name is spelled correctly.")
            .arg(subject);
    case err::AmbiguousField:
        return QStringLiteral("The field '%1' could refer to more than one table listed "
                              "in the FROM clause of your SQL statement.")
            .arg(subject);
    case err::UnknownInsertField:
        return QStringLiteral(
                   "The INSERT INTO statement contains the following unknown field name: '%1'.")
            .arg(subject);
    case err::DeleteWhichTable:
        return QStringLiteral("Specify the table containing the records you want to delete.");
    case err::NotUpdatable:
        return QStringLiteral("Operation must use an updatable query.");
    case err::CannotDeleteFrom:
        return QStringLiteral("Could not delete from the tables named.");
    case err::FileNotFound:
        return QStringLiteral("Could not find file '%1'.").arg(subject);
    case err::NoInstallableIsam:
        return QStringLiteral("Could not find installable ISAM.");
    case err::UndefinedFunction:
        return QStringLiteral("Undefined function '%1' in expression.").arg(subject);
    case err::NotInAggregate:
        return QStringLiteral("You tried to execute a query that does not include the "
                              "expression '%1' as part of an aggregate function.")
            .arg(subject);
    case err::FromClause:
        return QStringLiteral("Syntax error in FROM clause.");
    case err::InsertSyntax:
        return QStringLiteral("Syntax error in INSERT INTO statement.");
    case err::UpdateSyntax:
        return QStringLiteral("Syntax error in UPDATE statement.");
    case err::SelectSyntax:
        return QStringLiteral("The SELECT statement includes a reserved word or an argument name "
                              "that is misspelled or missing, or the punctuation is incorrect.");
    case err::TextAfterEnd:
        return QStringLiteral("Characters found after end of SQL statement.");
    case err::TransformSyntax:
        return QStringLiteral("Syntax error in TRANSFORM statement.");
    case err::ParameterSyntax:
        return QStringLiteral("Syntax error in PARAMETER clause.");
    case err::DataTypeMismatch:
        return QStringLiteral("Data type mismatch in criteria expression.");
    case err::CreateTableSyntax:
        return QStringLiteral("Syntax error in CREATE TABLE statement.");
    case err::DropSyntax:
        return QStringLiteral("Syntax error in DROP TABLE or DROP INDEX.");
    case err::AlterTableSyntax:
        return QStringLiteral("Syntax error in ALTER TABLE statement.");
    case err::NotSupported:
        return QStringLiteral("Operation is not supported for this type of object.");
    case err::FieldExists:
        return QStringLiteral("Field '%1' already exists in table '%2'.").arg(subject, table);
    case err::NoSuchField:
        return QStringLiteral("There is no field named '%1' in table '%2'.").arg(subject, table);
    case err::IndexedField:
        return QStringLiteral(
            "Cannot delete a field that is part of an index or is needed by the system.");
    case err::FieldDefinedTwice:
        return QStringLiteral("Cannot define field more than once.");
    case err::TableExists:
        return QStringLiteral("Table '%1' already exists.").arg(subject);
    case err::NoSuchTable:
        return QStringLiteral("Table '%1' does not exist.").arg(subject);
    case err::TooComplex:
        return QStringLiteral("Query is too complex.");
    default:
        return subject.isEmpty() ? QStringLiteral("Syntax error in query.")
                                 : QStringLiteral("Syntax error in query: %1").arg(subject);
    }
}

vb::VbError engineError(int number, const QString& description) {
    return vb::VbError(number, description, kErrorSource.toString());
}

void raise(int number, const QString& subject, const QString& table) {
    throw engineError(number, errorMessage(number, subject, table));
}

void raiseMissingParameters(int expected) {
    throw engineError(err::TooFewParameters,
                      QStringLiteral("Too few parameters. Expected %1.").arg(expected));
}

void raiseWrongArgumentCount(const QString& expression) {
    throw engineError(
        err::MissingOperator,
        QStringLiteral("Wrong number of arguments used with function in query expression '%1'.")
            .arg(expression));
}

} // namespace jet
