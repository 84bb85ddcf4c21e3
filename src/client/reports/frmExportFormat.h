#pragma once

// The small modal dialog in which the user picks the format of an export: comma-delimited text,
// an HTML file or a spreadsheet. It opens on the first choice every time, whatever was picked
// before.

#include <QDialog>
#include <QString>
#include <array>
#include <functional>

class QRadioButton;

class frmExportFormat : public QDialog {
    Q_OBJECT
public:
    explicit frmExportFormat(QWidget* parent = nullptr);

    // "0" when the dialog was cancelled or closed, otherwise the chosen option's index plus one
    // ("1" text, "2" HTML, "3" spreadsheet).
    QString Selection() const { return mstrSelection; }

    QRadioButton* optFormat(int index) const { return optFormat_.at(std::size_t(index)); }

    // Shows a new dialog modally over the owner window and returns its Selection.
    static QString fncAskFormat();

    // Seam for tests: instead of the modal loop, the handler acts on the shown dialog (picks,
    // clicks, closes it). Returns the previous handler; an empty one restores the modal loop.
    using ModalHandler = std::function<void(frmExportFormat& dialog)>;
    static ModalHandler setModalHandler(ModalHandler handler);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void cmdOK_Click();

    std::array<QRadioButton*, 3> optFormat_{};
    QString mstrSelection = QStringLiteral("0");
};
