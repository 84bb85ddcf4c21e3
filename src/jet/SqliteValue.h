#pragma once

#include "vb/Variant.h"

#include <QStringView>
#include <sqlite3.h>

// How values cross between SQLite and the value runtime (see Storage.h for how they are kept).
namespace jet {

// A dialect function's argument: INTEGER is a Long when it fits 32 bits, else a Double; REAL a
// Double; a Date, Currency, Boolean or Single when the generated SQL tagged it so; TEXT (and
// BLOB) a String; NULL is Null.
vb::Variant variantFromSqlite(sqlite3_value* value);

// A stored column value read as the kind its column was declared with (Date from the linear day
// line, Currency, Boolean from any nonzero number, the numeric kinds, String); Null stays Null
// and vb::VarType::Empty takes the value as it is stored. A value that does not convert raises
// what the conversion raises (13 Type mismatch, 6 Overflow).
vb::Variant variantFromColumn(sqlite3_stmt* statement, int column, vb::VarType declared);

// A dialect function's result: Date, Currency, Boolean and Single tagged for the next function;
// Empty and Null are NULL.
void resultFromVariant(sqlite3_context* context, const vb::Variant& value);

// The typed results on their own, for functions that never build a Variant.
void resultText(sqlite3_context* context, QStringView text);
void resultDate(sqlite3_context* context, double serial);
void resultBoolean(sqlite3_context* context, bool value);
void resultSingle(sqlite3_context* context, float value);

// Raises SQLite's error on `db`, or that of a dialect function run inside it ("13: Type
// mismatch") with the function's own number.
[[noreturn]] void raiseSqliteError(sqlite3* db, int code);

} // namespace jet
