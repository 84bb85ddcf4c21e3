#include "output/RowLayout.h"

#include <QAbstractItemModel>
#include <algorithm>

void RowLayout::clear() {
    model_ = nullptr;
    nodes_.clear();
}

void RowLayout::rebuild(const QAbstractItemModel* model, const ExpandedFn& expanded) {
    clear();
    if (!model) return;
    model_ = model;
    Node root;
    root.childCount = model->rowCount();
    nodes_.push_back(root);
    // Breadth first, so that every node's children sit together and after it.
    for (std::size_t n = 0; n < nodes_.size(); ++n)
        addChildren(static_cast<int>(n), expanded);
    for (auto n = static_cast<int>(nodes_.size()) - 1; n >= 0; --n)
        measure(n);
}

void RowLayout::addChildren(int node, const ExpandedFn& expanded) {
    const QModelIndex parent = nodes_[node].index;
    const int count = nodes_[node].childCount;
    // A node holds groups or rows, never both: its first child tells which.
    if (count == 0 || !model_->hasChildren(model_->index(0, 0, parent))) return;
    nodes_[node].firstChild = static_cast<int>(nodes_.size());
    for (int row = 0; row < count; ++row) {
        Node child;
        child.index = model_->index(row, 0, parent);
        child.parent = node;
        child.childCount = model_->rowCount(child.index);
        child.expanded = expanded(child.index);
        nodes_.push_back(child);
    }
}

void RowLayout::measure(int node) {
    Node& n = nodes_[node];
    if (n.firstChild < 0) {
        n.shown = n.childCount;
        return;
    }
    int line = 0;
    for (int c = n.firstChild; c < n.firstChild + n.childCount; ++c) {
        nodes_[c].start = line;
        line += 1 + block(nodes_[c]);
    }
    n.shown = line;
}

int RowLayout::lineCount() const {
    return nodes_.empty() ? 0 : nodes_.front().shown;
}

QModelIndex RowLayout::indexAt(int line) const {
    if (line < 0 || line >= lineCount()) return {};
    int n = 0;
    for (;;) {
        const Node& node = nodes_[n];
        if (node.firstChild < 0) return model_->index(line, 0, node.index);
        const auto first = nodes_.begin() + node.firstChild;
        const auto child = std::upper_bound(first, first + node.childCount, line,
                                            [](int l, const Node& c) { return l < c.start; }) -
                           1;
        if (line == child->start) return child->index;
        line -= child->start + 1;
        n = static_cast<int>(child - nodes_.begin());
    }
}

std::vector<int> RowLayout::pathOf(const QModelIndex& index) {
    std::vector<int> rows;
    for (QModelIndex i = index; i.isValid(); i = i.parent())
        rows.push_back(i.row());
    std::reverse(rows.begin(), rows.end());
    return rows;
}

int RowLayout::lineOf(const QModelIndex& index) const {
    if (!index.isValid() || index.model() != model_ || nodes_.empty()) return -1;
    const std::vector<int> path = pathOf(index);
    int n = 0;
    int line = 0;
    for (std::size_t i = 0; i < path.size(); ++i) {
        const Node& node = nodes_[n];
        const int row = path[i];
        const bool last = i + 1 == path.size();
        if (row >= node.childCount) return -1;
        if (node.firstChild < 0) return last ? line + row : -1;
        const Node& child = nodes_[node.firstChild + row];
        line += child.start;
        if (last) return line;
        if (!child.expanded) return -1;
        line += 1;
        n = node.firstChild + row;
    }
    return -1;
}

int RowLayout::nodeOf(const QModelIndex& index) const {
    if (!index.isValid() || index.model() != model_ || nodes_.empty()) return 0;
    int n = 0;
    for (const int row : pathOf(index)) {
        const Node& node = nodes_[n];
        if (node.firstChild < 0 || row >= node.childCount) return 0;
        n = node.firstChild + row;
    }
    return n;
}

bool RowLayout::isExpanded(const QModelIndex& group) const {
    const int node = nodeOf(group);
    return node > 0 && nodes_[node].expanded;
}

bool RowLayout::setExpanded(const QModelIndex& group, bool expanded) {
    const int node = nodeOf(group);
    if (node <= 0) return false;
    if (nodes_[node].expanded == expanded) return true;
    nodes_[node].expanded = expanded;
    for (int p = nodes_[node].parent; p >= 0; p = nodes_[p].parent)
        measure(p);
    return true;
}

int RowLayout::depthOf(const QModelIndex& index) const {
    int depth = -1;
    for (QModelIndex i = index; i.isValid(); i = i.parent())
        ++depth;
    return std::max(depth, 0);
}
