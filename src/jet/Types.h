#pragma once

// The dialect's column types, and what they become in a result set and in an SQLite site file.

#include "recordset/AdoType.h"
#include "vb/Variant.h"

#include <QString>
#include <optional>

namespace jet {

enum class SqlType {
    Unknown, // a Null literal, or a value whose type cannot be told before it runs
    Boolean,
    Byte,
    Integer, // 16-bit
    Long,
    Single,
    Double,
    Currency,
    Date,
    Text,
    Memo,
};

struct ColumnType {
    SqlType type = SqlType::Unknown;
    int size = 0; // TEXT(n)
    bool counter = false;
};

// COUNTER, LONG, TEXT(50), YESNO, ... (any case; synonyms such as MONEY, BIT, VARCHAR, INT);
// nullopt for a name the dialect does not know.
std::optional<ColumnType> columnTypeFromName(const QString& typeName, int size = 0);

// The type a PARAMETERS clause gives: a column type's name, or one of the dialect's types that no
// column here holds (VALUE, BINARY, LONGBINARY, GUID, DECIMAL), which leave the parameter's type
// unknown; nullopt for a name the dialect does not know.
std::optional<ColumnType> parameterTypeFromName(const QString& typeName, int size = 0);

rs::AdoType adoTypeOf(SqlType type);
vb::VarType varTypeOf(SqlType type);

// The type a value written in the text has (Unknown for Null and Empty).
SqlType literalType(const vb::Variant& v);

bool isText(SqlType type);
bool isNumeric(SqlType type); // Byte .. Currency and Boolean
// The type arithmetic on two numbers gives, as the dialect widens them.
SqlType widen(SqlType a, SqlType b);

// The declared type written into an SQLite site file. It keeps the dialect's name, so the catalog
// reads the same type back, and is chosen so that SQLite's type affinity stores values rightly.
QString sqliteDeclaration(const ColumnType& column);
// The reverse, from a declared type read off the live schema.
ColumnType columnTypeFromDeclaration(const QString& declared, bool integerPrimaryKey);

} // namespace jet
