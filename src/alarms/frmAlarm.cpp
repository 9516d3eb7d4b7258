#include "alarms/frmAlarm.h"

#include "display/GraphTable.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>
#include <limits>
#include <optional>

namespace {
// The text as a 32-bit whole number; nothing when it isn't one.
std::optional<qint32> wholeNumber(const QString& text)
{
    bool ok = false;
    const double v = text.toDouble(&ok);
    if (!ok || std::abs(v) > std::numeric_limits<qint32>::max() || std::round(v) != v)
        return std::nullopt;
    return qint32(v);
}

QLineEdit* limitBox(const char* name, int value, QWidget* parent)
{
    auto* box = new QLineEdit(QString::number(value), parent);
    box->setObjectName(QLatin1String(name));
    return box;
}
} // namespace

frmAlarm::frmAlarm(Station& st, QWidget* parent)
    : QDialog(parent), st_(st), txtAlarm1_(limitBox("txtAlarm1", st.limit1, this)),
      txtAlarm2_(limitBox("txtAlarm2", st.limit2, this))
{
    setObjectName(QStringLiteral("frmAlarm"));
    setWindowTitle(QStringLiteral("Set Alarm"));
    setMinimumWidth(320); // room for the whole title

    auto* frame = new QGroupBox(QStringLiteral("Set Alarm Values (ppm x10)"), this);
    frame->setObjectName(QStringLiteral("Frame1"));
    auto* grid = new QGridLayout(frame);
    auto* label1 = new QLabel(QStringLiteral("1-st  (Low)"), frame);
    label1->setObjectName(QStringLiteral("Label1"));
    auto* label2 = new QLabel(QStringLiteral("2-nd (Hi)"), frame);
    label2->setObjectName(QStringLiteral("Label2"));
    grid->addWidget(label1, 0, 0);
    grid->addWidget(txtAlarm1_, 0, 1);
    grid->addWidget(label2, 1, 0);
    grid->addWidget(txtAlarm2_, 1, 1);

    auto* cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    auto* cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);

    auto* lay = new QVBoxLayout(this);
    lay->addWidget(frame);
    lay->addLayout(buttons);

    for (QLineEdit* box : {txtAlarm1_, txtAlarm2_})
        connect(box, &QLineEdit::textChanged, this, [this, box] { txtAlarm_Change(box); });
    connect(cmdOK, &QPushButton::clicked, this, &frmAlarm::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmAlarm::txtAlarm_Change(QLineEdit* box)
{
    // The slash (47) passes on purpose; whole numbers are checked by OK.
    for (const QChar c : box->text()) {
        if (c.unicode() < 47 || c.unicode() > 57) {
            st_.notifier().message(QStringLiteral("Bad Data"));
            box->clear();
            return;
        }
    }
}

void frmAlarm::cmdOK_Click()
{
    if (txtAlarm1_->text().isEmpty()) {
        st_.notifier().message(QStringLiteral("Fill Limit 1 Value"));
        return;
    }
    if (txtAlarm2_->text().isEmpty()) {
        st_.notifier().message(QStringLiteral("Fill Limit 2 Value"));
        return;
    }
    const auto limit1 = wholeNumber(txtAlarm1_->text());
    const auto limit2 = wholeNumber(txtAlarm2_->text());
    if (!limit1 || !limit2) {
        st_.notifier().message(QStringLiteral("Bad Limit Value"));
        return;
    }
    st_.limit1 = *limit1;
    st_.limit2 = *limit2;
    // The main graph and the first of the added graphs show the limit lines.
    const GraphTable& graphs = GraphTable::of(st_);
    TrendGraph* added = nullptr;
    graphs.forEachSlot([&](int, TrendGraph* g) {
        if (!added)
            added = g;
    });
    for (TrendGraph* g : {graphs.mainGraph(), added}) {
        if (g) {
            g->SetLimit1Y(st_.limit1);
            g->SetLimit2Y(st_.limit2);
        }
    }
    accept();
}
