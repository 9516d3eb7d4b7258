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
    for (int i = 0; i < n; ++i) {
        // Centred on its grid line, kept inside the column at both edges.
        const int y = h - h * i / (n - 1) - lh / 2;
        labels_[std::size_t(i)]->setGeometry(0, std::clamp(y, 0, std::max(h - lh, 0)), width() - 3,
                                             lh);
    }
}
