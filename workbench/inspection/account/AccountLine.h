#pragma once

#include <QPointer>
#include <QToolButton>

namespace inspection {

class AccountDialog;
class Session;

/// One line of what detection did to the pair that is shown; a click tells more. Hidden while there is nothing to
/// tell and while work is going on. For a status bar. GUI thread.
class AccountLine : public QToolButton {
    Q_OBJECT

public:
    /// `session` must outlive the line.
    explicit AccountLine(Session& session, QWidget* parent = nullptr);

    /// Whether there is something to tell.
    bool hasAccount() const { return !m_text.isEmpty(); }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public slots:
    /// Reads it anew.
    void refresh();
    /// Opens the window that tells all of it; says so when nothing was kept.
    void showAccount();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void clear();

    Session& m_session;
    QString m_text;
    QPointer<AccountDialog> m_dialog;
};

} // namespace inspection
