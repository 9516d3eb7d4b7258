#pragma once

#include <QString>
#include <functional>
#include <memory>

// The one channel through which the core speaks to the operator. The GUI shows
// message boxes and status-bar text, --headless prints to stderr, tests record.
class Notifier
{
public:
    enum Button
    {
        Ok = 0x01,
        Cancel = 0x02,
        Yes = 0x04,
        No = 0x08,
        Retry = 0x10
    };
    enum class Icon
    {
        None,
        Information,
        Question,
        Exclamation,
        Critical
    };

    virtual ~Notifier() = default;

    // A message box with an OK button.
    virtual void message(const QString& text, Icon icon = Icon::None) = 0;
    // A question; `buttons` is an OR of Button values, the result the one chosen.
    virtual int ask(const QString& text, int buttons, Icon icon = Icon::Question) = 0;
    // A question that does not wait for its answer: `answered` gets the button
    // chosen, later, from the event loop. The reading path asks this way, so
    // readings go on while the question is open. By default it is asked at once.
    using Answer = std::function<void(int)>;
    virtual void askLater(const QString& text, int buttons, const Answer& answered,
                          Icon icon = Icon::Question)
    {
        answered(ask(text, buttons, icon));
    }
    // Text for a panel of the main status bar (panel 0 is the first).
    virtual void status(int panel, const QString& text) = 0;
    // Something the operator must learn of without being stopped (the port
    // lost and back): the first status panel with the windows, stderr without.
    virtual void note(const QString& text) { status(0, text); }
};

// Prints everything to stderr; used by --headless, where nobody can answer a question.
class HeadlessNotifier : public Notifier
{
public:
    void message(const QString& text, Icon icon = Icon::None) override;
    int ask(const QString& text, int buttons, Icon icon = Icon::Question) override;
    // A question that offers Retry is answered Retry after `retryMs`: a folder
    // or disk that comes back is written to again with nobody there. The text
    // is printed once when the failure begins, not at every try: a question
    // asked again from within the Retry answer is the same failure going on.
    void askLater(const QString& text, int buttons, const Answer& answered,
                  Icon icon = Icon::Question) override;
    void status(int panel, const QString& text) override;
    void note(const QString& text) override { message(text); }

    // Status texts are printed only when verbose; they change with every exchange.
    bool verbose = false;
    int retryMs = 5000;

private:
    // True while a Retry answer is being given; shared with the pending
    // answers, which may outlive the notifier.
    std::shared_ptr<bool> retrying_ = std::make_shared<bool>(false);
};
