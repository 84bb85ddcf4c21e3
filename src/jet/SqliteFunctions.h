#pragma once

#include "jet/SqliteValue.h"

#include <sqlite3.h>

// The dialect's functions, operators and aggregates as SQLite user functions, each named jet_ and
// the lower-case name (jet_left, jet_dateadd, jet_concat for &, jet_first), so SQLite's own
// functions are never replaced; plus the jet_text collation, under which text compares and sorts
// ignoring case.
//
// The functions follow the value runtime (src/vb): the same conversions, formats and errors as
// the client. A runtime error becomes an SQLite error whose message is "<number>: <description>"
// ("13: Type mismatch"), so the number survives the trip through sqlite3_errmsg().
namespace jet {

// Throws std::runtime_error when SQLite refuses a registration (out of memory).
void registerDialectFunctions(sqlite3* db);

} // namespace jet
