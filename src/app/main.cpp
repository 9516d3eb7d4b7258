// Start-up of the station: the windowed station by default, or the core
// alone with --headless.
#include "app/GuiNotifier.h"
#include "app/MDIFrm.h"
#include "app/Settings.h"
#include "app/Station.h"
#include "display/frmVal.h"

#include <QApplication>
#include <QCommandLineParser>

namespace {

int runWindowed(QApplication& app)
{
    // The order matters: defaults, device defaults, priority, the frame with
    // its device types and catalogue, then the settings file, then show.
    GuiNotifier notifier;
    Station st(notifier);
    st.ncom = 2;
    iniDef(st);
    raisePriority();
    MDIFrm frm(st);
    notifier.setParentWindow(&frm);
    notifier.setPanels(frm.statusPanels());
    ReadSettings(st);
    frm.applyLayout();
    frm.valueWindow()->show();
    frm.show();
    return app.exec();
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("velmora"));
    QApplication::setApplicationDisplayName(QStringLiteral("Velmora"));
    QApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));

    QCommandLineParser cli;
    cli.setApplicationDescription(
        QStringLiteral("Velmora: monitoring station for CH4/CO2 gas analyzers on a serial line."));
    cli.addHelpOption();
    cli.addVersionOption();
    cli.process(app);

    return runWindowed(app);
}
