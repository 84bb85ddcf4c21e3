#pragma once

#include "jet/SqliteValue.h"

#include <QStringList>
#include <sqlite3.h>

// The dialect's functions as SQLite user functions, each named jet_ and the lower-case name
// (jet_left, jet_dateadd, jet_first), so SQLite's own functions are never replaced: those the
// registry (FunctionRegistry.h) gives a body. Beside them the generator's helpers (jet_concat for
// &, jet_like, the jet_tag_* wrappers, jet_bool and the jet_to_* conversions of values written
// into typed columns) and the jet_text collation, under which text compares and sorts ignoring
// case.
//
// A runtime error becomes an SQLite error whose message is "<number>: <description>"
// ("13: Type mismatch"), so the number survives the trip through sqlite3_errmsg().
namespace jet {

// Throws std::runtime_error when SQLite refuses a registration (out of memory).
void registerDialectFunctions(sqlite3* db);

// The helpers' SQLite names: the jet_* functions that are none of the dialect's.
QStringList sqliteHelperNames();

} // namespace jet
