#pragma once

#include <QLayout>
#include <QList>

// Lays its widgets out left to right in their size hints, starting a new row
// where the width runs out, as words on a page: the control room's station
// groups, so that small stations share a row.
class FlowLayout : public QLayout
{
public:
    explicit FlowLayout(QWidget* parent = nullptr, int spacing = 12);
    ~FlowLayout() override;

    // Puts `w` at position `index` (at the end when out of range).
    void insertWidget(int index, QWidget* w);

    void addItem(QLayoutItem* item) override;
    int count() const override { return int(items_.size()); }
    QLayoutItem* itemAt(int index) const override { return items_.value(index); }
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize minimumSize() const override;
    QSize sizeHint() const override { return minimumSize(); }
    void setGeometry(const QRect& rect) override;

private:
    int place(const QRect& rect, bool move) const;

    QList<QLayoutItem*> items_;
    int gap_;
};
