#include "display/YLabelColumn.h"

#include <QLabel>
#include <algorithm>

YLabelColumn::YLabelColumn(QWidget* parent) : QWidget(parent)
{
    // Wide enough for the largest full scale, 200000 ppm x10 = "20000.0".
    setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("200000.0")) + 6);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
}

void YLabelColumn::setGrid(int yGrid)
{
    const int wanted = std::max(yGrid, 0) + 2;
    if (wanted == count())
        return clear();
    qDeleteAll(labels_);
    labels_.clear();
    for (int i = 0; i < wanted; ++i) {
        auto* l = new QLabel(this);
        l->setObjectName(QStringLiteral("lblY%1").arg(i));
        l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        l->show();
        labels_.push_back(l);
    }
    place();
}

QLabel* YLabelColumn::label(int i) const
{
    return i >= 0 && i < count() ? labels_[std::size_t(i)] : nullptr;
}

void YLabelColumn::clear()
{
    for (auto* l : labels_)
        l->clear();
}

void YLabelColumn::resizeEvent(QResizeEvent*)
{
    place();
}

void YLabelColumn::place()
{
    const int n = count();
    if (n < 2)
        return;
    const int lh = fontMetrics().height();
    const int h = height();
    // On a short picture (windows tiled one above the other) only every
    // k-th label shows, and none that would overlap the one below it.
    const int spacing = std::max(1, h / (n - 1));
    const int k = std::max(1, (lh + spacing - 1) / spacing);
    int freeAbove = h; // the top of the last label shown, counting from the bottom
    for (int i = 0; i < n; ++i) {
        // Centred on its grid line, kept inside the column at both edges.
        const int y = std::clamp(h - h * i / (n - 1) - lh / 2, 0, std::max(h - lh, 0));
        QLabel* l = labels_[std::size_t(i)];
        l->setGeometry(0, y, width() - 3, lh);
        const bool shown = i % k == 0 && y + lh <= freeAbove;
        l->setVisible(shown);
        if (shown)
            freeAbove = y;
    }
}
