#pragma once

// How dialect values cross to and from a PostgreSQL site. A read casts each column it fetches to
// the wire type of its dialect type (pgWireType), so the binary COPY form of a field is known from
// the dialect type alone.

#include "jet/PgConnection.h"
#include "jet/Types.h"
#include "vb/Variant.h"

#include <QString>

namespace jet {

// The PostgreSQL type a value of a dialect type is computed and fetched as.
QString pgWireType(SqlType type);
// The declared type of a column of the site's schema (domains for Byte and Currency, installed by
// the functions script), which the catalog reads back as the same dialect type.
QString pgDeclaration(const ColumnType& column);
// The dialect type of a column read off the catalog: its type's name (a domain's own name) and
// its modifier.
ColumnType columnTypeFromPg(const QString& typeName, int typmod, bool identity);

// A field of COPY's binary form, sent as pgWireType(type); Null stays Null. Raises 6 for a number
// beyond the dialect type's range.
vb::Variant variantFromPg(const PgField& field, SqlType type);

// A value as a PostgreSQL constant of the dialect type's wire type.
QString pgLiteral(const vb::Variant& value, SqlType type);

// Days between 1899-12-30 (the serial's zero) and 2000-01-01 (PostgreSQL's).
constexpr int kPgEpochSerial = 36526;

} // namespace jet
