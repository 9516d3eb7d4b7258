#include "app/frmAbout.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

frmAbout::frmAbout(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("About Velmora"));
    auto* text = new QLabel(
        QStringLiteral("<h3>Velmora %1</h3>"
                       "<p>Monitoring station for stationary CH4 / CO2 gas analyzers.</p>"
                       "<p>Concentrations in ppm x10, live trend graph, hourly and daily "
                       "data files, two alarm thresholds.</p>"
                       "<p>Built with Qt %2.</p>")
            .arg(QLatin1String(VELMORA_VERSION), QLatin1String(QT_VERSION_STR)),
        this);
    text->setObjectName(QStringLiteral("lblAbout"));
    text->setWordWrap(true);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    auto* lay = new QVBoxLayout(this);
    lay->addWidget(text);
    lay->addWidget(buttons);
}
