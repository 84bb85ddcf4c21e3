#pragma once

// The nested groups of a result set, stored compactly: one small node per group and one row
// number per row, so grouping a million rows costs a few megabytes rather than a node per row.

#include "vb/Variant.h"

#include <QString>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace rs {
class Recordset;
}

namespace output {

// A cell's value identity: equal exactly when two cells hold the same kind of value with the same
// payload. Texts compare without regard to letter case, as the site's GROUP BY and the result
// set's sort do (so a sorted set never splits a group); numbers by value (0 and -0 are one).
struct CellKey {
    vb::VarType type = vb::VarType::Empty;
    std::uint64_t bits = 0;
    QString text;

    friend bool operator==(const CellKey&, const CellKey&) = default;
};

CellKey cellKey(const vb::Variant& value);
std::size_t qHash(const CellKey& key, std::size_t seed = 0);

class GroupTree {
public:
    using NodeId = std::uint32_t;
    static constexpr NodeId kRoot = 0;

    // Groups the recordset's rows, in its current order, by the given fields (outermost first).
    // Without fields the root holds every row directly.
    void build(const rs::Recordset& records, std::span<const int> fields);
    void clear();

    int depth() const { return depth_; }
    std::size_t nodeCount() const { return nodes_.size(); }
    // The root is -1; top-level groups 0.
    int level(NodeId node) const;
    NodeId parent(NodeId node) const { return nodes_[node].parent; }
    std::uint32_t rowInParent(NodeId node) const { return nodes_[node].rowInParent; }
    // Whether the node's children are groups (rather than rows).
    bool holdsGroups(NodeId node) const { return level(node) + 1 < depth_; }
    // Child groups or rows, whichever the node holds.
    std::uint32_t childCount(NodeId node) const;
    NodeId childGroup(NodeId node, std::uint32_t index) const;
    std::uint32_t childRow(NodeId node, std::uint32_t index) const;
    // Rows under the node at any depth.
    std::uint32_t rowCount(NodeId node) const { return nodes_[node].rowCount; }
    // The node's first row in the recordset's order: its cells hold the group's values.
    std::uint32_t firstRow(NodeId node) const;

    // Where a row sits: its leaf (the root when there are no groups) and its index there.
    struct Place {
        NodeId leaf = kRoot;
        std::uint32_t index = 0;
    };
    // For a row below rowCount(kRoot). Scans the row table, so it suits keeping one current row,
    // not a loop over rows.
    Place placeOf(std::uint32_t row) const;

    std::size_t memoryBytes() const;

private:
    struct Node {
        NodeId parent = kRoot;
        std::uint32_t rowInParent = 0;
        std::uint32_t firstChild = 0; // into children_, when the node holds groups
        std::uint32_t childGroups = 0;
        std::uint32_t rowsBegin = 0; // into rows_: a node's rows are contiguous
        std::uint32_t rowCount = 0;
    };

    std::vector<NodeId> assignRows(const rs::Recordset& records, std::span<const int> fields);
    void linkChildren();
    void layOutRows(const std::vector<NodeId>& leafOfRow);

    int depth_ = 0;
    std::vector<Node> nodes_;         // the root first; a parent always before its children
    std::vector<NodeId> children_;    // each node's child groups, in order of first appearance
    std::vector<std::uint32_t> rows_; // rows in tree order; ascending within a leaf
};

} // namespace output
