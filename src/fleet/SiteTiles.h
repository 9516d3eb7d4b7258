#pragma once

#include "fleet/SiteModel.h"

#include <QHash>
#include <QScrollArea>
#include <QTimer>

class ChannelTile;
class QGridLayout;
class QLabel;
class FlowLayout;

// The tiles of a whole site, grouped by station: each group has a heading
// with the station's name, its state and when that changed (and its count of
// rejected messages when there are any), and the tiles of its channels in
// the order they appeared. Groups and tiles are added as the model learns of
// them; repaints follow the model's gathered changes, and the ages once a
// second.
class SiteTiles : public QScrollArea
{
    Q_OBJECT
public:
    static constexpr int kColumns = 4;

    explicit SiteTiles(const SiteModel& model, QWidget* parent = nullptr);

    ChannelTile* tile(const QString& station, const QByteArray& channel) const;
    QLabel* heading(const QString& station) const;
    // The stations in the order shown; sorting by name, or as they appeared.
    QStringList stationsShown() const { return shown_; }
    void setSorted(bool sorted);
    // The stations in the order first seen, here or before (kept in the
    // settings); the order shown when not sorted.
    void setKnownOrder(const QStringList& ids);
    const QStringList& knownOrder() const { return known_; }
    bool sorted() const { return sorted_; }
    static QString headingText(const SiteModel::Station& s);
    // Puts the focus on the first tile shown.
    void focusFirst();

Q_SIGNALS:
    void tileOpened(const QString& station, const QByteArray& channel);

private:
    struct Group
    {
        QWidget* box = nullptr;
        QLabel* heading = nullptr;
        QGridLayout* grid = nullptr;
        int tiles = 0;
    };
    void addMissing();
    void placeGroups();
    void refreshStations(const QStringList& ids);
    void refreshChannels(const QStringList& keys);

    const SiteModel& model_;
    QWidget* inner_;
    FlowLayout* column_;
    QHash<QString, Group> groups_;
    QHash<QString, ChannelTile*> tiles_; // by the channel's key
    QStringList shown_;
    QStringList known_;
    bool sorted_ = false;
    QTimer ages_;
};
