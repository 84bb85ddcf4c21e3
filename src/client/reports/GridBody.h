#pragma once

// The rows of the report grid: group lines spanning the width, each followed by its contents
// while expanded, and data rows under a column header, all of one height. It draws only the
// lines in sight and keeps nothing per row (a tree view keeps a record per shown row, which on a
// million rows weighs more than the result set itself); it finds each line through RowLayout.
// The current row moves with the keyboard and the mouse, one row at a time selected whole.

#include "output/RowLayout.h"

#include <QAbstractItemView>
#include <QSet>
#include <QString>
#include <functional>

class GridHeader;

class GridBody : public QAbstractItemView {
    Q_OBJECT
public:
    explicit GridBody(QWidget* parent = nullptr);

    void setModel(QAbstractItemModel* model) override;
    GridHeader* header() const { return header_; }

    int lineCount() const { return layout_.lineCount(); }
    // The lines as shown: groups folded or open as the user left them.
    const RowLayout& rowLayout() const { return layout_; }
    // How far each level of nesting moves a line's first cell right, in pixels.
    int indentation() const { return indentation_; }
    // Column 0 of the group or row on a line.
    QModelIndex indexAtLine(int line) const { return layout_.indexAt(line); }
    int lineOf(const QModelIndex& index) const { return layout_.lineOf(index); }
    int lineHeight() const { return lineHeight_; }
    int firstVisibleLine() const;
    int visibleLineCount() const;

    bool isGroup(const QModelIndex& index) const { return layout_.isGroup(index); }
    bool isExpanded(const QModelIndex& group) const { return layout_.isExpanded(group); }
    // Groups start expanded; one the user collapses stays collapsed while the grouping is
    // rebuilt (a re-sort), found again by its place in the groups and its caption.
    void setExpanded(const QModelIndex& group, bool expanded);

    // The width of the widest text a column's cells show, from whoever knows the data behind the
    // model; without it a column fits the lines in view.
    using TextFit = std::function<int(int column)>;
    void setTextFit(TextFit fit) { textFit_ = std::move(fit); }
    // The caption, or the widest text with a cell's padding and its indent under the groups.
    int sizeHintForColumn(int column) const override;

    QRect visualRect(const QModelIndex& index) const override;
    void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;
    QModelIndex indexAt(const QPoint& point) const override;
    // Typing letters does not search: a search over a million rows would stall the grid.
    void keyboardSearch(const QString&) override {}
    void reset() override;
    void doItemsLayout() override;

protected:
    QModelIndex moveCursor(CursorAction cursorAction, Qt::KeyboardModifiers modifiers) override;
    int horizontalOffset() const override;
    int verticalOffset() const override;
    bool isIndexHidden(const QModelIndex& index) const override;
    void setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) override;
    QRegion visualRegionForSelection(const QItemSelection& selection) const override;
    void updateGeometries() override;
    void scrollContentsBy(int dx, int dy) override;
    void rowsInserted(const QModelIndex& parent, int start, int end) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool toggleExpanderAt(QMouseEvent* event, const QPoint& pos);
    void rebuildLines();
    QModelIndex moveSideways(const QModelIndex& current, bool right);
    QModelIndex indexOnLine(int line, const QModelIndex& from) const;
    QString groupKey(const QModelIndex& group) const;
    int lineAtY(int y) const;
    QRect lineRect(int line) const;
    QRect expanderRect(const QModelIndex& group, int line) const;
    bool onExpander(const QPoint& pos) const;
    int contentWidth() const;
    int indentOf(const QModelIndex& index) const;
    int columnsIn(const QModelIndex& parent) const;
    int cellWidth(const QModelIndex& cell) const;
    QModelIndex firstDataRow() const;
    int widestTextInView(int column) const;
    void paintGroupLine(QPainter& painter, const QModelIndex& group, int line) const;
    void paintDataLine(QPainter& painter, const QModelIndex& row, int line) const;
    void paintFocus(QPainter& painter, int line) const;

    GridHeader* header_;
    RowLayout layout_;
    int lineHeight_ = 20;
    int indentation_ = 18;
    QSet<QString> collapsed_; // keys of the groups the user collapsed
    TextFit textFit_;
    bool pressedExpander_ = false;
    bool inGeometries_ = false;
};
