#include "recordset/RecordsetError.h"

#include "vb/VbError.h"

namespace rs {

namespace {

[[noreturn]] void raise(int number, const QString& description) {
    throw vb::VbError(number, description, kErrorSource.toString());
}

} // namespace

void raiseNoCurrentRecord() {
    raise(err::NoCurrentRecord,
          QStringLiteral("Either BOF or EOF is True, or the current record has been deleted. "
                         "Requested operation requires a current record."));
}

void raiseItemNotFound() {
    raise(err::ItemNotFound, QStringLiteral("Item cannot be found in the collection "
                                            "corresponding to the requested name or ordinal."));
}

void raiseBadArguments(const QString& message) {
    raise(err::BadArguments, message);
}

} // namespace rs
