#include "fleet/FlowLayout.h"

#include <QWidget>

FlowLayout::FlowLayout(QWidget* parent, int spacing) : QLayout(parent), gap_(spacing) {}

FlowLayout::~FlowLayout()
{
    while (QLayoutItem* item = takeAt(0))
        delete item;
}

void FlowLayout::insertWidget(int index, QWidget* w)
{
    addChildWidget(w);
    if (index < 0 || index > items_.size())
        index = int(items_.size());
    items_.insert(index, new QWidgetItem(w));
    invalidate();
}

void FlowLayout::addItem(QLayoutItem* item)
{
    items_.append(item);
}

QLayoutItem* FlowLayout::takeAt(int index)
{
    if (index < 0 || index >= items_.size())
        return nullptr;
    return items_.takeAt(index);
}

int FlowLayout::heightForWidth(int width) const
{
    return place(QRect(0, 0, width, 0), false);
}

QSize FlowLayout::minimumSize() const
{
    QSize size;
    for (const QLayoutItem* item : items_)
        size = size.expandedTo(item->minimumSize());
    const QMargins m = contentsMargins();
    return size + QSize(m.left() + m.right(), m.top() + m.bottom());
}

void FlowLayout::setGeometry(const QRect& rect)
{
    QLayout::setGeometry(rect);
    place(rect, true);
}

// Places the items in `rect` (when `move`); the height they take.
int FlowLayout::place(const QRect& rect, bool move) const
{
    const QRect area = rect.marginsRemoved(contentsMargins());
    int x = area.x(), y = area.y(), rowHeight = 0;
    for (QLayoutItem* item : items_) {
        if (item->isEmpty())
            continue;
        const QSize hint = item->sizeHint();
        if (x > area.x() && x + hint.width() > area.right() + 1) {
            x = area.x();
            y += rowHeight + gap_;
            rowHeight = 0;
        }
        if (move)
            item->setGeometry(QRect(QPoint(x, y), hint));
        x += hint.width() + gap_;
        rowHeight = qMax(rowHeight, hint.height());
    }
    const QMargins m = contentsMargins();
    return y + rowHeight - rect.y() + m.bottom();
}
