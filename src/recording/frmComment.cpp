#include "recording/frmComment.h"

#include "recording/DataRecorder.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

frmComment::frmComment(Station& st, DataRecorder& recorder, QWidget* parent)
    : QWidget(parent, Qt::Dialog), st_(st), recorder_(recorder), lblMessage_(new QLabel(this)),
      txtComment_(new QLineEdit(this)), cmdOK_(new QPushButton(QStringLiteral("OK"), this))
{
    setObjectName(QStringLiteral("frmComment"));
    setWindowTitle(QStringLiteral("Comment"));
    lblMessage_->setObjectName(QStringLiteral("lblMessage"));
    lblMessage_->setMinimumHeight(48);
    lblMessage_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    lblMessage_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    txtComment_->setObjectName(QStringLiteral("txtComment"));
    cmdOK_->setObjectName(QStringLiteral("cmdOK"));
    cmdOK_->setDefault(true);

    auto* lay = new QGridLayout(this);
    lay->addWidget(lblMessage_, 0, 0, 1, 2);
    lay->addWidget(new QLabel(QStringLiteral("Comment:"), this), 1, 0, 1, 2);
    lay->addWidget(txtComment_, 2, 0);
    lay->addWidget(cmdOK_, 2, 1);

    connect(txtComment_, &QLineEdit::returnPressed, this, &frmComment::enterComment);
    connect(cmdOK_, &QPushButton::clicked, this, &frmComment::cmdOK_Click);
    resize(360, 140);
}

void frmComment::setMessage(const QString& text)
{
    message_ = text;
    QString shown = text;
    lblMessage_->setText(shown.replace(QLatin1String("\r\n"), QLatin1String("\n")));
}

bool frmComment::enterComment()
{
    const QString text = txtComment_->text().trimmed();
    if (text.isEmpty())
        return true;
    if (!st_.recording || !recorder_.WriteComment(text)) {
        st_.notifier().message(QStringLiteral("Запись в файл отключена"),
                               Notifier::Icon::Exclamation);
        return false;
    }
    txtComment_->clear();
    return true;
}

void frmComment::cmdOK_Click()
{
    const bool entered = enterComment();
    Q_EMIT okPressed();
    if (entered)
        hide(); // a refused comment stays in view
}

void frmComment::showEvent(QShowEvent* e)
{
    // The first time it appears it stands over the middle of the main frame,
    // where the operator is looking; later it stays where it was put.
    if (!placed_ && parentWidget()) {
        const QRect frame = parentWidget()->window()->frameGeometry();
        move(frame.center() - rect().center());
        placed_ = true;
    }
    QWidget::showEvent(e);
}

void frmComment::closeEvent(QCloseEvent* e)
{
    Q_EMIT unloaded();
    QWidget::closeEvent(e);
}
