#include "fleet/SiteAlarms.h"

#include <QAction>
#include <QCheckBox>
#include <QDateTime>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QSet>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
enum Column
{
    Time,
    Station,
    Channel,
    Level,
    Value,
    State,
    Acknowledged,
    Columns
};
constexpr int kIdRole = Qt::UserRole;
} // namespace

SiteAlarms::SiteAlarms(SiteModel& model, QWidget* parent) : QWidget(parent), model_(model)
{
    setObjectName(QStringLiteral("SiteAlarms"));
    lstAlarms_ = new QTreeWidget(this);
    lstAlarms_->setObjectName(QStringLiteral("lstAlarms"));
    lstAlarms_->setRootIsDecorated(false);
    lstAlarms_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    lstAlarms_->setHeaderLabels({QStringLiteral("Time"), QStringLiteral("Station"),
                                 QStringLiteral("Channel"), QStringLiteral("Level"),
                                 QStringLiteral("ppm"), QStringLiteral("State"),
                                 QStringLiteral("Acknowledged")});
    lstAlarms_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    cmdAcknowledge_ = new QPushButton(QStringLiteral("&Acknowledge"), this);
    cmdAcknowledge_->setObjectName(QStringLiteral("cmdAcknowledge"));
    cmdAcknowledge_->setToolTip(QStringLiteral("Marks the chosen alarms as seen (Space)"));
    chkUnacknowledged_ = new QCheckBox(QStringLiteral("&Unacknowledged only"), this);
    chkUnacknowledged_->setObjectName(QStringLiteral("chkUnacknowledged"));

    auto* row = new QHBoxLayout;
    row->addWidget(cmdAcknowledge_);
    row->addWidget(chkUnacknowledged_);
    row->addStretch(1);
    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(0, 0, 0, 0);
    v->addWidget(lstAlarms_, 1);
    v->addLayout(row);

    connect(cmdAcknowledge_, &QPushButton::clicked, this, &SiteAlarms::acknowledgeChosen);
    connect(chkUnacknowledged_, &QCheckBox::toggled, this, &SiteAlarms::fill);
    connect(&model, &SiteModel::alarmsChanged, this, &SiteAlarms::fill);
    auto* space = new QAction(lstAlarms_);
    space->setShortcut(Qt::Key_Space);
    space->setShortcutContext(Qt::WidgetShortcut);
    connect(space, &QAction::triggered, this, &SiteAlarms::acknowledgeChosen);
    lstAlarms_->addAction(space);
    fill();
}

QString SiteAlarms::levelText(SiteModel::Level level)
{
    switch (level) {
    case SiteModel::Level::None:
        return QStringLiteral("none");
    case SiteModel::Level::First:
        return QStringLiteral("first");
    case SiteModel::Level::Second:
        return QStringLiteral("second");
    }
    return {};
}

QString SiteAlarms::stateText(const SiteModel::Alarm& a)
{
    QString text = a.raised ? QStringLiteral("raised") : QStringLiteral("cleared");
    if (a.older)
        text += QStringLiteral(", older than the connection");
    return text;
}

void SiteAlarms::fill()
{
    QSet<int> chosen;
    for (const QTreeWidgetItem* it : lstAlarms_->selectedItems())
        chosen.insert(it->data(Time, kIdRole).toInt());
    const int current =
        lstAlarms_->currentItem() ? lstAlarms_->currentItem()->data(Time, kIdRole).toInt() : 0;
    lstAlarms_->clear();
    QList<QTreeWidgetItem*> items;
    QTreeWidgetItem* currentItem = nullptr;
    for (const SiteModel::Alarm& a : model_.alarms(chkUnacknowledged_->isChecked())) {
        auto* it = new QTreeWidgetItem;
        it->setText(Time, QDateTime::fromMSecsSinceEpoch(a.utcMs).toString(
                              QStringLiteral("yyyy-MM-dd HH:mm:ss")));
        it->setData(Time, kIdRole, a.id);
        it->setText(Station, a.station);
        it->setText(Channel, QLatin1String(a.channel));
        it->setText(Level, levelText(a.level));
        it->setText(Value, QString::number(a.raw / 10.0, 'f', 1));
        it->setText(State, stateText(a));
        it->setText(Acknowledged, a.acknowledged ? QStringLiteral("yes") : QString());
        if (a.raised && !a.acknowledged) {
            QFont f = it->font(Time);
            f.setBold(true);
            for (int c = 0; c < Columns; ++c)
                it->setFont(c, f);
        }
        if (a.id == current)
            currentItem = it;
        items.append(it);
    }
    lstAlarms_->addTopLevelItems(items);
    for (QTreeWidgetItem* it : std::as_const(items))
        if (chosen.contains(it->data(Time, kIdRole).toInt()))
            it->setSelected(true);
    if (currentItem)
        lstAlarms_->setCurrentItem(currentItem, 0, QItemSelectionModel::NoUpdate);
}

void SiteAlarms::acknowledgeChosen()
{
    QList<int> ids;
    for (const QTreeWidgetItem* it : lstAlarms_->selectedItems())
        ids.append(it->data(Time, kIdRole).toInt());
    if (ids.isEmpty() && lstAlarms_->currentItem())
        ids.append(lstAlarms_->currentItem()->data(Time, kIdRole).toInt());
    for (int id : std::as_const(ids))
        model_.acknowledge(id);
    model_.flush();
}
