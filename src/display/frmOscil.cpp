#include "display/frmOscil.h"

#include "display/MyPict.h"
#include "display/PictLine.h"
#include "display/TimeLabels.h"
#include "display/YLabelColumn.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>
#include <cmath>
#include <limits>

frmOscil::frmOscil(Station& station, QWidget* parent)
    : QWidget(parent), station_(station), table_(GraphTable::of(station)), arrays_(1000),
      limit1_(station.limit1), limit2_(station.limit2)
{
    abScaleY_.fill(10000.0F);
    setObjectName(QStringLiteral("frmOscil"));
    setWindowTitle(QStringLiteral("Graph"));
    buildUi();
    pict_->setTrace(&arrays_);
    pict_->setTransform(transform());

    // The linear list applies its "1000"; with N at 1000 too until the
    // indices of the settings are applied.
    LoadScaleYList(true);
    LoadScaleXList();
    SetScalesX(1000);
    setScaleIndices(station.layout.scaleYIndex, station.layout.scaleXIndex);
}

frmOscil::~frmOscil()
{
    table_.remove(this);
}

void frmOscil::buildUi()
{
    auto* bar = new QHBoxLayout;
    auto* lblY = new QLabel(QStringLiteral("Y(ppm x10)"), this);
    lblY->setObjectName(QStringLiteral("lblScaleY"));
    cmbScaleY_ = new QComboBox(this);
    cmbScaleY_->setObjectName(QStringLiteral("cmbScaleY"));
    auto* lblX = new QLabel(QStringLiteral("X(Pnt/Screen)  "), this);
    lblX->setObjectName(QStringLiteral("lblScaleX"));
    cmbScaleX_ = new QComboBox(this);
    cmbScaleX_->setObjectName(QStringLiteral("cmbScaleX"));
    for (QComboBox* box : {cmbScaleY_, cmbScaleX_}) {
        box->setEditable(true);
        box->setInsertPolicy(QComboBox::NoInsert);
        // Typed scales are numbers of their own; completing "10" to "100000" would be wrong.
        box->setCompleter(nullptr);
        box->setMinimumContentsLength(7);
    }
    chkLog_ = new QCheckBox(QStringLiteral("Log Y"), this);
    chkLog_->setObjectName(QStringLiteral("chkLog"));
    chkSynh_ = new QCheckBox(QStringLiteral("Synchro"), this);
    chkSynh_->setObjectName(QStringLiteral("chkSynh"));
    bar->addWidget(lblY);
    bar->addWidget(cmbScaleY_);
    bar->addWidget(lblX);
    bar->addWidget(cmbScaleX_);
    bar->addWidget(chkLog_);
    bar->addWidget(chkSynh_);
    bar->addStretch(1);

    auto* body = new QHBoxLayout;
    body->setSpacing(0);
    yLabels_ = new YLabelColumn(this);
    pict_ = new MyPict(this);
    body->addWidget(yLabels_);
    body->addWidget(pict_, 1);

    auto* top = new QVBoxLayout(this);
    top->setContentsMargins(4, 4, 4, 4);
    top->setSpacing(2);
    top->addLayout(bar);
    top->addLayout(body, 1);
    top->addWidget(new TimeLabels(arrays_, *pict_, this));

    lnY1_ = new PictLine(QStringLiteral("lnY1"), QColor(255, 140, 0), *pict_);
    lnY2_ = new PictLine(QStringLiteral("lnY2"), QColor(220, 0, 0), *pict_);
    lnCursor_ = new PictLine(QStringLiteral("lnCursor"), QColor(0, 128, 0), *pict_);

    // A list choice applies at once; Enter applies a typed value. Enter on text
    // that is in the list comes back as a list choice, so it is left to that path.
    connect(cmbScaleY_, &QComboBox::activated, this, &frmOscil::scaleYCommitted);
    connect(cmbScaleY_->lineEdit(), &QLineEdit::returnPressed, this, [this] {
        if (cmbScaleY_->findText(cmbScaleY_->currentText()) < 0)
            scaleYCommitted();
    });
    connect(cmbScaleX_, &QComboBox::activated, this, &frmOscil::scaleXCommitted);
    connect(cmbScaleX_->lineEdit(), &QLineEdit::returnPressed, this, [this] {
        if (cmbScaleX_->findText(cmbScaleX_->currentText()) < 0)
            scaleXCommitted();
    });
    connect(chkLog_, &QCheckBox::toggled, this, &frmOscil::scaleYCommitted);
    connect(chkSynh_, &QCheckBox::clicked, this, &frmOscil::synchroClicked);
    connect(pict_, &MyPict::mouseMovedTo, this, &frmOscil::pictMouseMoved);
    connect(pict_, &MyPict::mouseLeft, this, &frmOscil::pictMouseLeft);
}

int frmOscil::GetabScaleY(int component) const
{
    if (component < 0 || component >= int(abScaleY_.size()))
        return 0;
    return int(std::lround(abScaleY_[std::size_t(component)]));
}

void frmOscil::SetabScaleY(int component, float value)
{
    if (component >= 0 && component < int(abScaleY_.size()))
        abScaleY_[std::size_t(component)] = value;
}

TraceTransform frmOscil::transform() const
{
    return {table_.zeroOffset, chkLog_->isChecked()};
}

bool frmOscil::InitPictLine(int points, float yExtent, int xGrid, int yGrid)
{
    if (points < 1 || !std::isfinite(yExtent) || !(yExtent > 0) || xGrid < 0 || yGrid < 0) {
        station_.notifier().message(QStringLiteral("InitPict Error"));
        return false;
    }
    const GraphAxes axes = GraphAxes::linear(points, yExtent, xGrid, yGrid);
    writeYLabels(axes, false);
    pict_->setAxes(axes);
    SetLimit1Y(limit1_);
    SetLimit2Y(limit2_);
    return true;
}

bool frmOscil::InitPict(int points, float yExtent, int xGrid, int yGrid)
{
    if (points < 1 || !std::isfinite(yExtent) || xGrid < 0 || yGrid < 0) {
        station_.notifier().message(QStringLiteral("InitPict Error"));
        return false;
    }
    const GraphAxes axes = GraphAxes::logarithmic(points, yExtent, xGrid, yGrid);
    writeYLabels(axes, true);
    pict_->setAxes(axes);
    SetLimit1Y(limit1_);
    SetLimit2Y(limit2_);
    return true;
}

void frmOscil::writeYLabels(const GraphAxes& axes, bool log)
{
    yLabels_->setGrid(axes.yGrid);
    for (int i = 0; i < yLabels_->count(); ++i)
        SetYLbl(i, log ? yLogLabelText(axes, i) : yLabelText(labelValue_, axes.yGrid, i));
}

bool frmOscil::prepare()
{
    return chkLog_->isChecked() ? InitPict(pointsPerScreen(), yExtent_)
                                : InitPictLine(pointsPerScreen(), yExtent_);
}

void frmOscil::showArray()
{
    pict_->setTransform(transform());
    pict_->redrawAll();
}

void frmOscil::showArrayLog()
{
    pict_->setTransform({table_.zeroOffset, true});
    pict_->redrawAll();
}

void frmOscil::ReInitPict()
{
    prepare();
    showArray();
}

void frmOscil::ClsOscil()
{
    arrays_.restart();
    pict_->redrawAll();
}

bool frmOscil::SetNewPoint()
{
    return storePoint(newValue);
}

bool frmOscil::SetNewPointA()
{
    if (!std::isfinite(curValue) || curValue > double(std::numeric_limits<qint32>::max()) ||
        curValue < double(std::numeric_limits<qint32>::min())) {
        station_.notifier().message(QStringLiteral("SetNewPointA Error ") +
                                    QStringLiteral("reading %1 is out of range").arg(curValue));
        return false;
    }
    newValue = qint32(std::lround(curValue));
    return storePoint(newValue);
}

bool frmOscil::storePoint(qint32 value)
{
    // The zero offset may have changed since the last point: the trace is then redrawn.
    pict_->setTransform(transform());
    switch (arrays_.addPoint(value, currentOleDate(), station_.notifier())) {
    case SampleArrays::Step::Unshifted:
    case SampleArrays::Step::Shifted:
        // The retained four fifths and the new point are drawn afresh.
        pict_->redrawAll();
        return true;
    case SampleArrays::Step::Appended:
        pict_->drawPoint(pointCount() - 1);
        return true;
    }
    return false;
}
