#include "output/GroupTree.h"

#include "recordset/Recordset.h"

#include <QHash>
#include <QHashFunctions>
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace output {

namespace {

std::uint64_t numberBits(double value) {
    if (value == 0) value = 0; // -0 groups with 0
    if (std::isnan(value)) value = std::numeric_limits<double>::quiet_NaN();
    return std::bit_cast<std::uint64_t>(value);
}

// A group is found by its parent and its own value, so one table serves every level.
struct GroupKey {
    GroupTree::NodeId parent = GroupTree::kRoot;
    CellKey cell;

    friend bool operator==(const GroupKey&, const GroupKey&) = default;
};

std::size_t qHash(const GroupKey& key, std::size_t seed) {
    return qHashMulti(seed, key.parent, key.cell);
}

} // namespace

CellKey cellKey(const vb::Variant& value) {
    CellKey key{value.type(), 0, {}};
    switch (value.type()) {
    case vb::VarType::Empty:
    case vb::VarType::Null:
        break;
    case vb::VarType::Boolean:
        key.bits = value.boolValue() ? 1 : 0;
        break;
    case vb::VarType::Integer:
        key.bits = static_cast<std::uint64_t>(std::int64_t{value.integerValue()});
        break;
    case vb::VarType::Long:
        key.bits = static_cast<std::uint64_t>(std::int64_t{value.longValue()});
        break;
    case vb::VarType::Single:
        key.bits = numberBits(value.singleValue());
        break;
    case vb::VarType::Double:
        key.bits = numberBits(value.doubleValue());
        break;
    case vb::VarType::Currency:
        key.bits = static_cast<std::uint64_t>(value.currencyValue().scaled);
        break;
    case vb::VarType::Date:
        key.bits = numberBits(value.dateValue());
        break;
    case vb::VarType::String:
        key.text = value.stringValue().toCaseFolded();
        break;
    }
    return key;
}

std::size_t qHash(const CellKey& key, std::size_t seed) {
    return qHashMulti(seed, static_cast<int>(key.type), key.bits, key.text);
}

void GroupTree::clear() {
    depth_ = 0;
    nodes_.assign(1, Node{});
    children_ = {};
    rows_ = {};
}

void GroupTree::build(const rs::Recordset& records, std::span<const int> fields) {
    clear();
    depth_ = static_cast<int>(fields.size());
    nodes_[kRoot].rowCount = static_cast<std::uint32_t>(records.recordCount());
    if (depth_ == 0) return;
    const std::vector<NodeId> leafOfRow = assignRows(records, fields);
    nodes_.shrink_to_fit();
    linkChildren();
    layOutRows(leafOfRow);
}

// Creates the groups in order of first appearance, counts their rows, and tells each row's leaf.
std::vector<GroupTree::NodeId> GroupTree::assignRows(const rs::Recordset& records,
                                                     std::span<const int> fields) {
    const std::uint32_t rows = nodes_[kRoot].rowCount;
    std::vector<NodeId> leafOfRow(rows);
    QHash<GroupKey, NodeId> lookup;
    // Rows sorted by the group fields mostly repeat the previous row's group: that is checked
    // before the table.
    std::vector<GroupKey> previous(fields.size());
    std::vector<NodeId> previousNode(fields.size(), kRoot);
    for (std::uint32_t row = 0; row < rows; ++row) {
        NodeId parent = kRoot;
        for (std::size_t level = 0; level < fields.size(); ++level) {
            GroupKey key{parent, cellKey(records.valueAt(row, fields[level]))};
            if (previousNode[level] == kRoot || !(key == previous[level])) {
                auto found = lookup.constFind(key);
                if (found == lookup.constEnd()) {
                    found = lookup.insert(key, static_cast<NodeId>(nodes_.size()));
                    nodes_.push_back(Node{parent});
                }
                previousNode[level] = *found;
                previous[level] = std::move(key);
            }
            parent = previousNode[level];
            ++nodes_[parent].rowCount;
        }
        leafOfRow[row] = parent;
    }
    return leafOfRow;
}

// Lists each node's child groups; nodes were made in order of first appearance, so their
// children are listed in that order too.
void GroupTree::linkChildren() {
    for (NodeId id = 1; id < nodes_.size(); ++id)
        ++nodes_[nodes_[id].parent].childGroups;
    std::uint32_t offset = 0;
    for (Node& node : nodes_) {
        node.firstChild = offset;
        offset += node.childGroups;
        node.childGroups = 0;
    }
    children_.resize(offset);
    for (NodeId id = 1; id < nodes_.size(); ++id) {
        Node& parent = nodes_[nodes_[id].parent];
        nodes_[id].rowInParent = parent.childGroups;
        children_[parent.firstChild + parent.childGroups++] = id;
    }
}

// Gives every node a contiguous range of rows_, its children's ranges side by side inside it,
// then fills the leaves in row order. A parent precedes its children in nodes_, so one pass
// hands each range down.
void GroupTree::layOutRows(const std::vector<NodeId>& leafOfRow) {
    for (const Node& node : nodes_) {
        std::uint32_t begin = node.rowsBegin;
        for (std::uint32_t i = 0; i < node.childGroups; ++i) {
            Node& child = nodes_[children_[node.firstChild + i]];
            child.rowsBegin = begin;
            begin += child.rowCount;
        }
    }
    rows_.resize(leafOfRow.size());
    std::vector<std::uint32_t> filled(nodes_.size(), 0);
    for (std::uint32_t row = 0; row < leafOfRow.size(); ++row) {
        const NodeId leaf = leafOfRow[row];
        rows_[nodes_[leaf].rowsBegin + filled[leaf]++] = row;
    }
}

int GroupTree::level(NodeId node) const {
    int level = -1;
    for (; node != kRoot; node = nodes_[node].parent)
        ++level;
    return level;
}

std::uint32_t GroupTree::childCount(NodeId node) const {
    return holdsGroups(node) ? nodes_[node].childGroups : nodes_[node].rowCount;
}

GroupTree::NodeId GroupTree::childGroup(NodeId node, std::uint32_t index) const {
    return children_[nodes_[node].firstChild + index];
}

std::uint32_t GroupTree::childRow(NodeId node, std::uint32_t index) const {
    return depth_ == 0 ? index : rows_[nodes_[node].rowsBegin + index];
}

std::uint32_t GroupTree::firstRow(NodeId node) const {
    return rows_.empty() ? 0 : rows_[nodes_[node].rowsBegin];
}

GroupTree::Place GroupTree::placeOf(std::uint32_t row) const {
    if (depth_ == 0) return {kRoot, row};
    const auto at = std::find(rows_.begin(), rows_.end(), row);
    const auto position = static_cast<std::uint32_t>(at - rows_.begin());
    NodeId node = kRoot;
    while (holdsGroups(node)) {
        const auto first = children_.begin() + nodes_[node].firstChild;
        const auto last = first + nodes_[node].childGroups;
        const auto after =
            std::upper_bound(first, last, position,
                             [this](std::uint32_t p, NodeId c) { return p < nodes_[c].rowsBegin; });
        node = *(after - 1);
    }
    return {node, position - nodes_[node].rowsBegin};
}

std::size_t GroupTree::memoryBytes() const {
    return nodes_.capacity() * sizeof(Node) + children_.capacity() * sizeof(NodeId) +
           rows_.capacity() * sizeof(std::uint32_t);
}

} // namespace output
