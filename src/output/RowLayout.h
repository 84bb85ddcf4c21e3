#pragma once

// Which model index sits on each line of a grouped grid, with a record per group and none per
// row: a million ungrouped rows cost nothing here, and a grouped million only their groups.
// The model is a tree whose nodes hold either child groups or plain rows, never both (the
// grouping model's shape); a group line is followed by its contents while it is expanded.

#include <QModelIndex>
#include <functional>
#include <vector>

class QAbstractItemModel;

class RowLayout {
public:
    // Decides whether a group starts expanded; asked once per group on every rebuild.
    using ExpandedFn = std::function<bool(const QModelIndex& group)>;

    // Reads the model's groups afresh; an empty model (or none) shows no lines.
    void rebuild(const QAbstractItemModel* model, const ExpandedFn& expanded);
    void clear();

    int lineCount() const;
    // Column 0 of the line's group or row; invalid outside 0..lineCount()-1.
    QModelIndex indexAt(int line) const;
    // The line of an index (any column); -1 when it is hidden inside a collapsed group or not
    // in the model.
    int lineOf(const QModelIndex& index) const;

    bool isGroup(const QModelIndex& index) const { return nodeOf(index) > 0; }
    bool isExpanded(const QModelIndex& group) const;
    // Returns false when the index is no group.
    bool setExpanded(const QModelIndex& group, bool expanded);
    // Groups above the index: 0 at the top level.
    int depthOf(const QModelIndex& index) const;

private:
    struct Node {
        QModelIndex index; // column 0; invalid for the root
        int parent = -1;
        int firstChild = -1; // into nodes_, when the children are groups
        int childCount = 0;  // child groups or rows
        int start = 0;       // the node's line within its parent's contents
        int shown = 0;       // lines of its contents while expanded
        bool expanded = true;
    };

    static std::vector<int> pathOf(const QModelIndex& index);
    // The node of a group index; 0 (the root) for anything else.
    int nodeOf(const QModelIndex& index) const;
    int block(const Node& node) const { return node.expanded ? node.shown : 0; }
    void measure(int node);
    void addChildren(int node, const ExpandedFn& expanded);

    const QAbstractItemModel* model_ = nullptr;
    std::vector<Node> nodes_; // the root first; children contiguous, after their parent
};
