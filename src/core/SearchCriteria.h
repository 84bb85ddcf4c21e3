#pragma once

// What a Power Search asks for, as its view's controls hold it and as a saved search stores it:
// texts exactly as typed, check boxes as the language numbers their states, positions in the
// option groups and lists, and the date range as two moments.

#include <QString>
#include <cstdint>

namespace core {

enum SearchType : std::int16_t { List = 0, SummaryByClerk = 1, SummaryByRegister = 2 };

// A check box's state: 0 cleared, 1 ticked, 2 greyed.
inline constexpr int kUnchecked = 0;
inline constexpr int kChecked = 1;

struct SearchCriteria {
    std::int16_t searchType = List;
    QString item;
    QString action;
    int notAction = kUnchecked;
    QString clerk;
    QString registerText;
    // Position in the price modifier list: 0 "Any Price", 1 >, 2 <, 3 =, 4 <>; -1 none picked.
    int modifier = 0;
    QString price;
    int absValue = kUnchecked;
    // The date range option: a preset, or the custom range of start and end.
    std::int16_t interval = 1;
    double start = 0;
    double end = 0;
};

} // namespace core
