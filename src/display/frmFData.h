#pragma once

#include "display/ScreenRefresh.h"

#include <QString>
#include <QWidget>
#include <deque>

class QTableWidget;

// The table view: a grid "Flx" of numbered rows with the time and value of
// the latest readings, newest first. Every reading takes its row at once; the
// grid shows the rows at the next screen refresh.
class frmFData : public QWidget
{
    Q_OBJECT
public:
    static constexpr int kRows = 100; // readings kept in the grid

    explicit frmFData(QWidget* parent = nullptr);

    QTableWidget* Flx() const { return flx_; }
    // Numbers every row in column "N".
    bool FormatFlex();
    // Puts each row's own number in column "Value", until readings replace
    // it, and empties the other columns.
    bool FillFlex();
    // Puts a reading (ppm x10) at the top; the oldest row drops off the end.
    // "Temper" shows the analyzer's second value where there is one.
    void addReading(const QDateTime& when, double raw, const QString& temper = QString());

private:
    struct Row
    {
        QString time;
        QString value;
        QString temper;
    };
    void showRows();

    QTableWidget* flx_;
    std::deque<Row> rows_; // kRows, newest first
    ScreenRefresh refresh_{this, [this] { showRows(); }};
};
