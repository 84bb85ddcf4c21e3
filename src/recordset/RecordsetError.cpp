#include "recordset/RecordsetError.h"

#include "vb/VbError.h"

namespace rs {

void raiseNoCurrentRecord() {
    throw vb::VbError(err::NoCurrentRecord,
                      QStringLiteral("Either BOF or EOF is True, or the current record has been "
                                     "deleted. Requested operation requires a current record."));
}

void raiseItemNotFound() {
    throw vb::VbError(err::ItemNotFound, QStringLiteral("Item cannot be found in the collection "
                                                        "corresponding to the requested name or "
                                                        "ordinal."));
}

void raiseBadArguments(const QString& message) {
    throw vb::VbError(err::BadArguments, message);
}

} // namespace rs
