#pragma once

#include "fleet/SiteModel.h"

#include <QWidget>

// One channel of the control room: its name, the last value in ppm, the last
// ten minutes as a sparkline, the age of the reading, and the alarm level as
// the tile's colour; grey when the channel has gone quiet. Painted by hand
// from the model's data, nothing kept but the key.
class ChannelTile : public QWidget
{
    Q_OBJECT
public:
    ChannelTile(const SiteModel& model, const QString& station, const QByteArray& channel,
                QWidget* parent = nullptr);

    const QString& station() const { return station_; }
    const QByteArray& channel() const { return channel_; }
    // The colour the tile shows now: the alarm level's, or grey when stale.
    QColor colour(qint64 nowMs) const;
    // "12 s", "4 min", "2 h": how old the last reading is.
    static QString age(qint64 ms);

    QSize sizeHint() const override;

Q_SIGNALS:
    // Double-click, or Enter while it has the focus.
    void opened();

protected:
    void paintEvent(QPaintEvent*) override;
    void mouseDoubleClickEvent(QMouseEvent*) override;
    void keyPressEvent(QKeyEvent*) override;

private:
    const SiteModel& model_;
    QString station_;
    QByteArray channel_;
};
