#pragma once

#include <QWidget>

class QTableWidget;

// The table view: a grid "Flx" of numbered rows with the time and value of
// the latest readings, newest first.
class frmFData : public QWidget
{
    Q_OBJECT
public:
    static constexpr int kRows = 100; // readings kept in the grid

    explicit frmFData(QWidget* parent = nullptr);

    QTableWidget* Flx() const { return flx_; }
    // Numbers every row in column "N".
    bool FormatFlex();
    // Puts each row's own number in column "Value", until readings replace it.
    bool FillFlex();
    // Puts a reading (ppm x10) at the top; the oldest row drops off the end.
    // "Temper" shows the analyzer's second value where there is one.
    void addReading(const QDateTime& when, double raw, const QString& temper = QString());

private:
    QTableWidget* flx_;
};
