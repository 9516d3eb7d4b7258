#pragma once

#include <QWidget>
#include <vector>

class QLabel;

// The column of Y-axis captions beside a graph picture: label i (lblY0 ..)
// stands at horizontal grid line i, counted from the bottom edge (0) to the top
// edge (yGrid + 1), on a column as tall as the picture.
class YLabelColumn : public QWidget
{
public:
    explicit YLabelColumn(QWidget* parent = nullptr);

    // Makes yGrid + 2 labels, all blank.
    void setGrid(int yGrid);
    int count() const { return int(labels_.size()); }
    QLabel* label(int i) const;
    void clear();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void place();
    std::vector<QLabel*> labels_;
};
