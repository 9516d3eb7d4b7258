#include "link/frmSet.h"

#include "station/DataFormat.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>
#include <cmath>

namespace {
constexpr int kMaxComponents = 10;

constexpr int kMaxByteIndex = 255; // start bytes, lengths and the marker are byte-sized

QCheckBox* box(QWidget* parent, const char* name, const char* caption, bool on)
{
    auto* c = new QCheckBox(QLatin1String(caption), parent);
    c->setObjectName(QLatin1String(name));
    c->setChecked(on);
    return c;
}

QLineEdit* field(QWidget* parent, const char* name, const QString& text)
{
    auto* e = new QLineEdit(text, parent);
    e->setObjectName(QLatin1String(name));
    e->setMaximumWidth(80);
    return e;
}

QScrollBar* counter(QWidget* parent, const char* name, int max, int value)
{
    auto* s = new QScrollBar(Qt::Vertical, parent);
    s->setObjectName(QLatin1String(name));
    s->setRange(1, max);
    s->setValue(value);
    s->setInvertedAppearance(true);
    s->setFixedHeight(36);
    return s;
}
} // namespace

frmSet::frmSet(Station& st, QWidget* parent) : QDialog(parent), st_(st), comp_(st.format.comp)
{
    setObjectName(QStringLiteral("frmSet"));
    setWindowTitle(QStringLiteral("Settings"));
    const DataFormat& f = st_.format;
    if (comp_.isEmpty())
        comp_.append(ComponentFormat{});

    auto* data = new QGroupBox(QStringLiteral("Data"), this);
    scrN_ = counter(data, "scrN", qMax(1, f.components), 1);
    lblN_ = new QLabel(QStringLiteral("1"), data);
    lblN_->setObjectName(QStringLiteral("lblN"));
    txtStart_ = field(data, "txtStart", QString::number(comp_[0].start));
    txtLenD_ = field(data, "txtLenD", QString::number(comp_[0].length));
    chkShow_ = box(data, "chkShow", "Graph Show", comp_[0].show);
    auto* current = new QHBoxLayout;
    current->addWidget(lblN_);
    current->addWidget(scrN_);
    auto* dataLay = new QFormLayout(data);
    dataLay->addRow(QStringLiteral("Current Component"), current);
    dataLay->addRow(QStringLiteral("Start Byte (Number)"), txtStart_);
    dataLay->addRow(QStringLiteral("Length of Data"), txtLenD_);
    dataLay->addRow(chkShow_);

    auto* general = new QGroupBox(QStringLiteral("General"), this);
    scrNofC_ = counter(general, "scrNofC", kMaxComponents, qMax(1, f.components));
    txtNComp_ = field(general, "txtNComp", QString::number(f.components));
    txtNComp_->setReadOnly(true);
    txtLenS_ = field(general, "txtLenS", QString::number(f.recordLength));
    txtMark_ = field(general, "txtMark", QString::number(f.marker));
    ckhAsc_ = box(general, "ckhAsc", "ASC - code", f.ascCode);
    chkMark_ = box(general, "chkMark", "Check Sum for Component", f.checkSumForComponent);
    chkForComp_ = box(general, "chkForComp", "Mark for Component", f.markForComponent);
    Check1_ = box(general, "Check1", "CRLF", f.crlf);
    chkGContrSum_ = box(general, "chkGContrSum", "General Check Sum", f.generalCheckSum);
    chkIdentData_ = box(general, "chkIdentData", "All DataThe Same Format", f.identData);
    chkAutoLen_ = box(general, "chkAutoLen", "Length Summary Auto Detect", f.autoLength);
    auto* count = new QHBoxLayout;
    count->addWidget(txtNComp_);
    count->addWidget(scrNofC_);
    auto* genLay = new QFormLayout(general);
    genLay->addRow(QStringLiteral("Number of Components"), count);
    genLay->addRow(QStringLiteral("Length Summary"), txtLenS_);
    genLay->addRow(QStringLiteral("Marker (ASC-code)"), txtMark_);
    for (QCheckBox* c :
         {ckhAsc_, chkMark_, chkForComp_, Check1_, chkGContrSum_, chkIdentData_, chkAutoLen_})
        genLay->addRow(c);

    auto* cmdApply = new QPushButton(QStringLiteral("Apply"), this);
    cmdApply->setObjectName(QStringLiteral("cmdApply"));
    cmdApply->setDefault(true);
    auto* cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdApply);
    buttons->addWidget(cmdCancel);

    auto* frames = new QHBoxLayout;
    frames->addWidget(data);
    frames->addWidget(general);
    auto* lay = new QVBoxLayout(this);
    lay->addLayout(frames);
    lay->addLayout(buttons);

    connect(scrNofC_, &QScrollBar::valueChanged, this, &frmSet::scrNofC_Change);
    connect(scrN_, &QScrollBar::valueChanged, this, &frmSet::scrN_Change);
    connect(chkShow_, &QCheckBox::clicked, this,
            [this](bool on) { comp_[lblN_->text().toInt() - 1].show = on; });
    connect(ckhAsc_, &QCheckBox::clicked, this, [this](bool on) { st_.format.ascCode = on; });
    connect(cmdApply, &QPushButton::clicked, this, &frmSet::cmdApply_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmSet::runSetAllComponents()
{
    if (!chkIdentData_->isChecked())
        return;
    DataFormat f;
    f.comp = comp_;
    f.components = int(comp_.size());
    f.identData = true;
    f.markForComponent = chkForComp_->isChecked();
    f.checkSumForComponent = chkMark_->isChecked();
    SetAllComponents(f);
    comp_ = f.comp;
    refreshComponent();
}

void frmSet::refreshComponent()
{
    const ComponentFormat& c = comp_[lblN_->text().toInt() - 1];
    txtStart_->setText(QString::number(c.start));
    txtLenD_->setText(QString::number(c.length));
    chkShow_->setChecked(c.show);
}

void frmSet::scrNofC_Change()
{
    const int n = scrNofC_->value();
    txtNComp_->setText(QString::number(n));
    if (scrN_->value() > n)
        scrN_->setValue(n);
    scrN_->setRange(1, n);
    comp_.resize(n);
    runSetAllComponents();
}

bool frmSet::takeNumber(QLineEdit* box, int min, int max, int& into)
{
    bool ok = false;
    const double v = box->text().trimmed().toDouble(&ok);
    if (ok && std::isfinite(v) && std::lround(v) >= min && std::lround(v) <= max) {
        into = int(std::lround(v));
        return true;
    }
    st_.notifier().message(QStringLiteral("Bad Data"));
    box->setText(QString::number(into));
    return false;
}

bool frmSet::storeShownComponent()
{
    ComponentFormat& c = comp_[lblN_->text().toInt() - 1];
    const bool length = takeNumber(txtLenD_, 1, kMaxByteIndex, c.length);
    return takeNumber(txtStart_, 0, kMaxByteIndex, c.start) && length;
}

void frmSet::scrN_Change()
{
    storeShownComponent();
    lblN_->setText(QString::number(scrN_->value()));
    refreshComponent();
    runSetAllComponents();
}

void frmSet::cmdApply_Click()
{
    DataFormat& f = st_.format;
    int recordLength = f.recordLength;
    int marker = f.marker;
    // A bad number keeps the dialog open with the old value shown again.
    if (!storeShownComponent() || !takeNumber(txtLenS_, 1, kMaxByteIndex, recordLength) ||
        !takeNumber(txtMark_, 0, kMaxByteIndex, marker))
        return;
    f.components = txtNComp_->text().toInt();
    f.comp = comp_;
    f.recordLength = recordLength;
    f.marker = quint8(marker);
    f.autoLength = chkAutoLen_->isChecked();
    f.checkSumForComponent = chkMark_->isChecked();
    f.markForComponent = chkForComp_->isChecked();
    f.crlf = Check1_->isChecked();
    f.generalCheckSum = chkGContrSum_->isChecked();
    f.identData = chkIdentData_->isChecked();
    accept();
}
