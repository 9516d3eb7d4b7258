// frmOscil: the scale boxes, "Log Y", "Synchro" and the Y captions.
#include "display/MyPict.h"
#include "display/YLabelColumn.h"
#include "display/frmOscil.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QSignalBlocker>
#include <cmath>
#include <new>

namespace {
// The largest screen a typed X scale may ask for (40 MB of values).
constexpr int kMaxPointsPerScreen = 1000000;

const QStringList& logScaleList()
{
    static const QStringList list = {
        QStringLiteral("100"), QStringLiteral("25"),    QStringLiteral("10"),
        QStringLiteral("2.5"), QStringLiteral("1"),     QStringLiteral("0.25"),
        QStringLiteral("0.1"), QStringLiteral("0.025"), QStringLiteral("0.01")};
    return list;
}

const QStringList& scaleXList()
{
    static const QStringList list = {QStringLiteral("24000"), QStringLiteral("12000"),
                                     QStringLiteral("6000"),  QStringLiteral("2400"),
                                     QStringLiteral("1200"),  QStringLiteral("600"),
                                     QStringLiteral("240"),   QStringLiteral("120"),
                                     QStringLiteral("60"),    QStringLiteral("20")};
    return list;
}

QString numberText(double v)
{
    return QString::number(v, 'g', 15);
}

// A number typed into a scale box: the C form ("2.5") or the system's ("2,5").
bool parseNumber(const QString& text, double& v)
{
    bool ok = false;
    v = text.toDouble(&ok);
    if (!ok)
        v = QLocale::system().toDouble(text, &ok);
    return ok && std::isfinite(v);
}
} // namespace

void frmOscil::LoadScaleYList(bool linear)
{
    {
        const QSignalBlocker block(cmbScaleY_);
        cmbScaleY_->clear();
        if (!linear) {
            cmbScaleY_->addItems(logScaleList());
            cmbScaleY_->setCurrentIndex(-1);
            return;
        }
        for (double v : station_.scaleY)
            cmbScaleY_->addItem(numberText(v));
        cmbScaleY_->setCurrentIndex(7);
    }
    SetScalesY(station_.scaleY[7]);
}

void frmOscil::LoadScaleXList()
{
    const QSignalBlocker block(cmbScaleX_);
    const QString shown = cmbScaleX_->currentText();
    cmbScaleX_->clear();
    cmbScaleX_->addItems(scaleXList());
    showScaleText(cmbScaleX_, shown);
}

void frmOscil::showScaleText(QComboBox* box, const QString& text)
{
    const QSignalBlocker block(box);
    const int i = box->findText(text);
    box->setCurrentIndex(i);
    if (i < 0)
        box->setEditText(text);
}

void frmOscil::setScaleIndices(int yIndex, int xIndex)
{
    if (yIndex >= 0 && yIndex < cmbScaleY_->count()) {
        double v = 0;
        if (parseNumber(cmbScaleY_->itemText(yIndex), v))
            SetScalesY(v);
    }
    if (xIndex >= 0 && xIndex < cmbScaleX_->count())
        SetScalesX(cmbScaleX_->itemText(xIndex).toInt());
}

int frmOscil::scaleYIndex() const
{
    return cmbScaleY_->findText(cmbScaleY_->currentText());
}

int frmOscil::scaleXIndex() const
{
    return cmbScaleX_->findText(cmbScaleX_->currentText());
}

template <typename F> void frmOscil::forEachSynchroGraph(F&& f)
{
    if (!table_.contains(this))
        f(static_cast<TrendGraph*>(this));
    table_.forEachOpen(f);
}

void frmOscil::scaleYCommitted()
{
    QString text = cmbScaleY_->currentText().trimmed();
    // "Log Y" with an empty box (a list just loaded, nothing chosen) re-applies
    // the scale in force on the new axis.
    if (text.isEmpty() && sender() == chkLog_)
        text = numberText(scaleValue_);
    if (text.isEmpty())
        return;
    double v = 0;
    if (!parseNumber(text, v) || !(v > 0)) {
        station_.notifier().message(QStringLiteral("Bad Data"));
        showScaleText(cmbScaleY_, numberText(scaleValue_));
        return;
    }
    if (chkSynh_->isChecked())
        forEachSynchroGraph([v](TrendGraph* g) { g->SetScalesY(v); });
    else
        SetScalesY(v);
}

void frmOscil::scaleXCommitted()
{
    double v = 0;
    const QString text = cmbScaleX_->currentText().trimmed();
    if (text.isEmpty())
        return;
    const bool ok = parseNumber(text, v) && v >= 0.5 && v < kMaxPointsPerScreen + 0.5;
    if (!ok) {
        station_.notifier().message(QStringLiteral("Bad Data"));
        showScaleText(cmbScaleX_, QString::number(pointsPerScreen()));
        return;
    }
    const int n = int(std::lround(v));
    if (chkSynh_->isChecked())
        forEachSynchroGraph([n](TrendGraph* g) { g->SetScalesX(n); });
    else
        SetScalesX(n);
}

bool frmOscil::SetScalesY(double scaleValue)
{
    if (!std::isfinite(scaleValue) || !(scaleValue > 0)) {
        station_.notifier().message(QStringLiteral("SetScalesY Error ") +
                                    QStringLiteral("full scale %1 is not above 0").arg(scaleValue));
        return false;
    }
    const bool log = chkLog_->isChecked();
    scaleValue_ = scaleValue;
    labelValue_ = log ? double(std::lround(scaleValue)) : scaleValue;
    yExtent_ = log ? Log10(scaleValue) : float(scaleValue);
    SetabScaleY(8, yExtent_);
    showScaleText(cmbScaleY_, numberText(scaleValue));
    if (!prepare())
        return false;
    showArray();
    return true;
}

bool frmOscil::SetScalesX(int pointsPerScreen)
{
    if (pointsPerScreen < 1 || pointsPerScreen > kMaxPointsPerScreen) {
        station_.notifier().message(QStringLiteral("SetScalesX Error ") +
                                    QStringLiteral("%1 points per screen is outside 1..%2")
                                        .arg(pointsPerScreen)
                                        .arg(kMaxPointsPerScreen));
        return false;
    }
    try {
        // Keeps the points held when the new screen is longer, else restarts the trace.
        arrays_.setPointsPerScreen(pointsPerScreen);
    } catch (const std::bad_alloc&) {
        station_.notifier().message(
            QStringLiteral("SetScalesX Error ") +
            QStringLiteral("not enough memory for %1 points").arg(pointsPerScreen));
        arrays_.setPointsPerScreen(this->pointsPerScreen());
        return false;
    }
    showScaleText(cmbScaleX_, QString::number(pointsPerScreen));
    if (!prepare())
        return false;
    showArray();
    return true;
}

void frmOscil::setSynchro(bool on)
{
    const QSignalBlocker block(chkSynh_);
    chkSynh_->setChecked(on);
}

void frmOscil::synchroClicked(bool on)
{
    table_.forEachOpen([this, on](TrendGraph* g) {
        if (g != this)
            g->setSynchro(on);
    });
}

bool frmOscil::SetYLbl(int i, const QString& text)
{
    QLabel* label = yLabels_->label(i);
    if (label == nullptr) {
        station_.notifier().message(QStringLiteral("SetYLbl Error ") +
                                    QStringLiteral("there is no Y label %1").arg(i));
        return false;
    }
    label->setText(text);
    return true;
}
