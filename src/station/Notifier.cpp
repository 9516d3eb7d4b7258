#include "station/Notifier.h"

#include <QTimer>
#include <cstdio>

void HeadlessNotifier::message(const QString& text, Icon)
{
    std::fprintf(stderr, "velmora: %s\n", qPrintable(text));
    std::fflush(stderr);
}

int HeadlessNotifier::ask(const QString& text, int buttons, Icon)
{
    // Nobody is there to answer: keep what exists (No), otherwise give up (Cancel),
    // otherwise accept (Yes/OK).
    int answer = Ok;
    if (buttons & No)
        answer = No;
    else if (buttons & Cancel)
        answer = Cancel;
    else if (buttons & Yes)
        answer = Yes;
    std::fprintf(stderr, "velmora: %s\n", qPrintable(text));
    std::fflush(stderr);
    return answer;
}

void HeadlessNotifier::status(int panel, const QString& text)
{
    if (verbose)
        std::fprintf(stderr, "velmora: [status %d] %s\n", panel, qPrintable(text));
}

void HeadlessNotifier::askLater(const QString& text, int buttons, const Answer& answered, Icon icon)
{
    if (!(buttons & Retry)) {
        answered(ask(text, buttons, icon));
        return;
    }
    // Asked again from within the Retry answer: the same failure, said already.
    if (!*retrying_) {
        std::fprintf(stderr, "velmora: %s (trying again every %d s)\n", qPrintable(text),
                     (retryMs + 999) / 1000);
        std::fflush(stderr);
    }
    QTimer::singleShot(retryMs, [retrying = retrying_, answered] {
        *retrying = true;
        answered(Retry);
        *retrying = false;
    });
}
