#include "link/frmCalib.h"

#include "station/Notifier.h"
#include "station/Station.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>

namespace {
// The numeric value of the number the text starts with, as a classic Val()
// reads it: leading blanks, a sign, digits with one full stop and an
// exponent count, whatever follows does not (" +1.5e2x" is 150, "2,5" is 2).
double leadingValue(const QString& text)
{
    static const QRegularExpression number(
        QStringLiteral("^\\s*[+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?"));
    const QRegularExpressionMatch m = number.match(text);
    return m.hasMatch() ? m.captured(0).trimmed().toDouble() : 0.0;
}
} // namespace

frmCalib::frmCalib(Station& st, QWidget* parent) : QDialog(parent), st_(st)
{
    setObjectName(QStringLiteral("frmCalib"));
    setWindowTitle(QStringLiteral("Gas Concentration"));
    setMinimumWidth(320); // the caption stays readable
    auto* label = new QLabel(QStringLiteral("Gas Concentration"), this);
    txtConc_ = new QLineEdit(this);
    txtConc_->setObjectName(QStringLiteral("txtConc"));
    label->setBuddy(txtConc_);
    cmdEnter_ = new QPushButton(QStringLiteral("Enter"), this);
    cmdEnter_->setObjectName(QStringLiteral("cmdEnter"));
    cmdEnter_->setDefault(true);
    cmdEnter_->setEnabled(false);
    auto* cmdEnd = new QPushButton(QStringLiteral("Cancel"), this);
    cmdEnd->setObjectName(QStringLiteral("cmdEnd"));

    auto* lay = new QGridLayout(this);
    lay->addWidget(label, 0, 0, 1, 2);
    lay->addWidget(txtConc_, 1, 0, 1, 2);
    lay->addWidget(cmdEnter_, 2, 0);
    lay->addWidget(cmdEnd, 2, 1);

    connect(txtConc_, &QLineEdit::textChanged, this, &frmCalib::txtConc_Change);
    connect(cmdEnter_, &QPushButton::clicked, this, &frmCalib::cmdEnter_Click);
    connect(cmdEnd, &QPushButton::clicked, this, &frmCalib::cmdEnd_Click);
    st_.calibrationConc.clear();
}

void frmCalib::txtConc_Change()
{
    const QString text = txtConc_->text();
    cmdEnter_->setEnabled(!text.isEmpty());
    if (text.startsWith(QLatin1Char('.')) || text.startsWith(QLatin1Char(','))) {
        st_.notifier().message(QStringLiteral("Bad Data"));
        txtConc_->clear();
        return;
    }
    if (leadingValue(text) > 100) {
        txtConc_->clear();
        return;
    }
    if (text.size() >= 6) {
        const bool fraction =
            text.startsWith(QLatin1String("0.")) || text.startsWith(QLatin1String("0,"));
        const QString cut = text.left(fraction ? 6 : 5);
        if (cut != text)
            txtConc_->setText(cut);
    }
}

void frmCalib::cmdEnter_Click()
{
    QString text = txtConc_->text();
    if (text.isEmpty())
        return;
    text.replace(QLatin1Char(','), QLatin1Char('.'));
    st_.calibrationConc = text;
    accept();
}

void frmCalib::cmdEnd_Click()
{
    st_.calibrationConc.clear();
    reject();
}
