#include "workbench/inspection/account/AccountLine.h"

#include "workbench/inspection/account/AccountDialog.h"
#include "workbench/inspection/session/Log.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspectiondata/text/CoregistrationText.h"

#include <QStyleOptionToolButton>
#include <QStylePainter>

namespace inspection {

namespace {

constexpr int kPadding = 12;

std::optional<DetectionAccount> accountOf(const Session& session) {
    if (!session.project()) {
        return std::nullopt;
    }
    try {
        return readDetectionAccount(session.project()->description(), *session.connection());
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The account of detection cannot be read:" << exception.what();
        return std::nullopt;
    }
}

} // namespace

AccountLine::AccountLine(Session& session, QWidget* parent) : QToolButton(parent), m_session(session) {
    setObjectName("accountLine");
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    hide();
    connect(this, &QToolButton::clicked, this, &AccountLine::showAccount);
    connect(&session, &Session::opened, this, &AccountLine::refresh);
    connect(&session, &Session::closing, this, &AccountLine::clear);
    connect(&session, &Session::comparedPairChanged, this, &AccountLine::refresh);
    connect(&session.jobs(), &JobRunner::started, this, &QWidget::hide);
    connect(&session.jobs(), &JobRunner::finished, this, [this] { setVisible(hasAccount()); });
}

void AccountLine::clear() {
    m_text.clear();
    hide();
    delete m_dialog;
}

void AccountLine::refresh() {
    const auto account = accountOf(m_session);
    if (!account) {
        clear();
        return;
    }
    const bool isDoubtful = doubtOf(account->coregistration.nmadAfterMetres, account->parameters).has_value();
    m_text = (isDoubtful ? tr("结果不可信！") : QString()) + coregistrationLine(account->coregistration);
    setText(m_text);
    setToolTip(m_text + tr("\n点击查看详情"));
    setVisible(!m_session.jobs().isRunning());
    updateGeometry();
}

void AccountLine::showAccount() {
    delete m_dialog;
    const auto account = accountOf(m_session);
    if (!account) {
        m_session.inform(tr("没有配准记录：这对期次尚未计算，或由较早的版本计算；重新“计算异常”后可查看"));
        return;
    }
    m_dialog = new AccountDialog(m_session.project()->description(), *account, m_session.mainWindow());
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    m_dialog->open();
}

QSize AccountLine::sizeHint() const {
    return {fontMetrics().horizontalAdvance(m_text) + 2 * kPadding, fontMetrics().height() + 4};
}

QSize AccountLine::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 20, fontMetrics().height() + 4};
}

// A long line ends in dots where it has no room.
void AccountLine::paintEvent(QPaintEvent* /*event*/) {
    QStylePainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);
    option.text = fontMetrics().elidedText(m_text, Qt::ElideRight, width() - kPadding);
    painter.drawComplexControl(QStyle::CC_ToolButton, option);
}

} // namespace inspection
