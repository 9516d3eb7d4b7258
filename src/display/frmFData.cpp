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
    rows_.clear();
    for (int r = 0; r < kRows; ++r)
        rows_.push_back({QString(), QString::number(r + 1), QString()});
    showRows();
    return true;
}

void frmFData::addReading(const QDateTime& when, double raw, const QString& temper)
{
    // Newest first: the texts move down one row; the row numbers stay.
    rows_.pop_back();
    rows_.push_front({when.toString(QStringLiteral("HH:mm:ss")), FormatVal(raw), temper});
    refresh_.request();
}

void frmFData::showRows()
{
    auto put = [this](int r, int c, const QString& text) {
        if (QTableWidgetItem* item = flx_->item(r, c)) {
            if (item->text() != text)
                item->setText(text);
        } else {
            flx_->setItem(r, c, cell(text));
        }
    };
    for (int r = 0; r < kRows && r < flx_->rowCount(); ++r) {
        const Row& row = rows_[size_t(r)];
        put(r, ColTime, row.time);
        put(r, ColValue, row.value);
        put(r, ColTemper, row.temper);
    }
}
