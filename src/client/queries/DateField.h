#pragma once

// A date field: one date-and-time value shown as text, picked by clicking it (the caller opens the
// date dialog). It offers two texts: the one people read, in their own short date form, and the
// one query text puts between "#" marks, which the site reads as the same moment whatever the
// locale of this computer.

#include <QString>
#include <QWidget>

class DateField : public QWidget {
    Q_OBJECT
public:
    explicit DateField(QWidget* parent = nullptr);

    // A date serial (days since 1899-12-30, the fraction the time of day).
    double value() const { return value_; }
    void setValue(double serial);

    // Shows the date without its time; the value keeps the time it has.
    bool dateOnly() const { return dateOnly_; }
    void setDateOnly(bool dateOnly);

    // The short date, then a blank and the 24-hour time unless the field shows a date only;
    // empty for a value outside the calendar.
    QString text() const;
    // "yyyy/mm/dd HH:nn:ss", fixed whatever the regional forms.
    QString queryText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void clicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    double value_ = 0.0;
    bool dateOnly_ = false;
    bool pressed_ = false;
};
