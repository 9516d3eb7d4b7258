#include "display/frmFData.h"

#include "link/ProcessReply.h"

#include <QDateTime>
#include <QHeaderView>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {
enum Column
{
    ColN,
    ColTime,
    ColValue,
    ColTemper,
    ColCount
};

QTableWidgetItem* cell(const QString& text)
{
    auto* item = new QTableWidgetItem(text);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return item;
}

bool numberRows(QTableWidget* t, int column)
{
    for (int r = 0; r < t->rowCount(); ++r)
        t->setItem(r, column, cell(QString::number(r + 1)));
    return true;
}
} // namespace

frmFData::frmFData(QWidget* parent) : QWidget(parent), flx_(new QTableWidget(kRows, ColCount, this))
{
    setObjectName(QStringLiteral("frmFData"));
    setWindowTitle(QStringLiteral("Table"));
    flx_->setObjectName(QStringLiteral("Flx"));
    flx_->setHorizontalHeaderLabels({QStringLiteral("N"), QStringLiteral("Time"),
                                     QStringLiteral("Value"), QStringLiteral("Temper")});
    flx_->verticalHeader()->hide();
    flx_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    flx_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    auto* lay = new QVBoxLayout(this);
    lay->setContentsMargins(0, 0, 0, 0);
    lay->addWidget(flx_);
    FormatFlex();
    FillFlex();
    resize(420, 300);
}

bool frmFData::FormatFlex()
{
    return numberRows(flx_, ColN);
}

bool frmFData::FillFlex()
{
    return numberRows(flx_, ColValue);
}

void frmFData::addReading(const QDateTime& when, double raw, const QString& temper)
{
    // Newest first: the texts move down one row; the row numbers stay.
    auto text = [this](int r, int c) {
        if (!flx_->item(r, c))
            flx_->setItem(r, c, cell(QString()));
        return flx_->item(r, c);
    };
    for (int r = flx_->rowCount() - 1; r > 0; --r) {
        for (int c : {ColTime, ColValue, ColTemper})
            text(r, c)->setText(text(r - 1, c)->text());
    }
    text(0, ColTime)->setText(when.toString(QStringLiteral("HH:mm:ss")));
    text(0, ColValue)->setText(FormatVal(raw));
    text(0, ColTemper)->setText(temper);
}
