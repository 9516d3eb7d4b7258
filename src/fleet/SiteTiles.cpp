#include "fleet/SiteTiles.h"

#include "fleet/ChannelTile.h"
#include "fleet/FlowLayout.h"

#include <QDateTime>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

SiteTiles::SiteTiles(const SiteModel& model, QWidget* parent)
    : QScrollArea(parent), model_(model), inner_(new QWidget(this)), column_(new FlowLayout(inner_))
{
    setObjectName(QStringLiteral("SiteTiles"));
    setWidgetResizable(true);
    setWidget(inner_);
    connect(&model, &SiteModel::layoutChanged, this, &SiteTiles::addMissing);
    connect(&model, &SiteModel::stationsChanged, this, &SiteTiles::refreshStations);
    connect(&model, &SiteModel::channelsChanged, this, &SiteTiles::refreshChannels);
    ages_.setInterval(1000);
    connect(&ages_, &QTimer::timeout, this, [this] {
        for (ChannelTile* t : std::as_const(tiles_))
            t->update();
    });
    ages_.start();
    addMissing();
}

ChannelTile* SiteTiles::tile(const QString& station, const QByteArray& channel) const
{
    return tiles_.value(station + QLatin1Char('/') + QLatin1String(channel));
}

QLabel* SiteTiles::heading(const QString& station) const
{
    return groups_.value(station).heading;
}

QString SiteTiles::headingText(const SiteModel::Station& s)
{
    QString text = s.id.isEmpty() ? QStringLiteral("(no station)") : s.id;
    if (s.stateKnown)
        text += QStringLiteral(" \u2014 %1 since %2")
                    .arg(s.online ? QStringLiteral("online") : QStringLiteral("offline"),
                         QDateTime::fromMSecsSinceEpoch(s.changedMs)
                             .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
    if (s.rejects > 0)
        text += QStringLiteral(" \u2014 %1 rejected").arg(s.rejects);
    return text;
}

void SiteTiles::addMissing()
{
    bool added = false;
    for (const QString& id : model_.stationOrder()) {
        const SiteModel::Station* s = model_.station(id);
        Group& g = groups_[id];
        if (!known_.contains(id))
            known_.append(id);
        if (!g.box) {
            g.box = new QWidget(inner_);
            g.box->setObjectName(QStringLiteral("grp_%1").arg(id));
            auto* v = new QVBoxLayout(g.box);
            v->setContentsMargins(0, 4, 0, 4);
            g.heading = new QLabel(g.box);
            g.heading->setObjectName(QStringLiteral("lblStation_%1").arg(id));
            QFont f = g.heading->font();
            f.setBold(true);
            g.heading->setFont(f);
            v->addWidget(g.heading);
            g.grid = new QGridLayout;
            g.grid->setSpacing(6);
            g.grid->setAlignment(Qt::AlignLeft | Qt::AlignTop);
            v->addLayout(g.grid);
            added = true;
        }
        if (g.tiles < s->channels.size())
            added = true; // the tab order takes the new tiles in
        for (qsizetype i = g.tiles; i < s->channels.size(); ++i) {
            auto* t = new ChannelTile(model_, id, s->channels[i], g.box);
            connect(t, &ChannelTile::opened, this,
                    [this, t] { Q_EMIT tileOpened(t->station(), t->channel()); });
            g.grid->addWidget(t, int(i / kColumns), int(i % kColumns));
            tiles_.insert(id + QLatin1Char('/') + QLatin1String(s->channels[i]), t);
        }
        g.tiles = int(s->channels.size());
        g.heading->setText(headingText(*s));
    }
    if (added)
        placeGroups();
}

void SiteTiles::setSorted(bool sorted)
{
    sorted_ = sorted;
    placeGroups();
}

void SiteTiles::setKnownOrder(const QStringList& ids)
{
    QStringList order = ids;
    for (const QString& id : std::as_const(known_))
        if (!order.contains(id))
            order.append(id);
    known_ = order;
    placeGroups();
}

void SiteTiles::placeGroups()
{
    shown_.clear();
    for (const QString& id : std::as_const(known_))
        if (groups_.contains(id))
            shown_.append(id);
    if (sorted_)
        shown_.sort(Qt::CaseInsensitive);
    for (const QString& id : std::as_const(shown_))
        column_->removeWidget(groups_.value(id).box);
    int at = 0;
    for (const QString& id : std::as_const(shown_))
        column_->insertWidget(at++, groups_.value(id).box);
    // Tab follows the order shown: station by station, tile by tile.
    QWidget* last = nullptr;
    for (const QString& id : std::as_const(shown_)) {
        const SiteModel::Station* s = model_.station(id);
        for (const QByteArray& ch : s->channels) {
            QWidget* t = tile(id, ch);
            if (last)
                QWidget::setTabOrder(last, t);
            last = t;
        }
    }
}

void SiteTiles::refreshStations(const QStringList& ids)
{
    for (const QString& id : ids)
        if (QLabel* h = heading(id); h && model_.station(id))
            h->setText(headingText(*model_.station(id)));
}

void SiteTiles::refreshChannels(const QStringList& keys)
{
    for (const QString& k : keys)
        if (ChannelTile* t = tiles_.value(k))
            t->update();
}

void SiteTiles::focusFirst()
{
    for (const QString& id : std::as_const(shown_)) {
        const SiteModel::Station* s = model_.station(id);
        if (s && !s->channels.isEmpty()) {
            tile(id, s->channels.front())->setFocus(Qt::ShortcutFocusReason);
            return;
        }
    }
}
