#pragma once

// Splits query text into tokens.

#include "jet/Token.h"

#include <QString>
#include <QStringView>
#include <vector>

namespace jet {

// The tokens of the text, ending with an End token. Never throws: what cannot be read becomes an
// Invalid token, so that the parser can quote the whole expression around it in its message.
// Numbers are read with a decimal point whatever the region; #dates# month first.
std::vector<Token> tokenize(const QString& text);

// Words that cannot name a table, a column or an alias unless bracketed.
bool isReservedWord(QStringView word);

// Whether a name must be written [bracketed] to read back as one name.
bool needsBrackets(QStringView name);

} // namespace jet
