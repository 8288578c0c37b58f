#include "workbench/app/RecentCard.h"

#include "workbench/style/Theme.h"
#include "workbench/style/ToolTip.h"

#include <QDir>
#include <QKeyEvent>
#include <QPainter>
#include <QToolButton>

namespace {
constexpr int kMargin = 8;
} // namespace

RecentCard::RecentCard(const RecentProject& project, QWidget* parent)
    : QAbstractButton(parent), m_project(project), m_remove(new QToolButton(this)) {
    setObjectName("recentCard");
    setText(project.name);
    setToolTip(plainToolTip(QDir::toNativeSeparators(project.folder)));
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_remove->setObjectName("removeRecent");
    m_remove->setText(QStringLiteral("×"));
    m_remove->setAutoRaise(true);
    m_remove->setToolTip(tr("从列表中移除（不删除文件）"));
    m_remove->setFocusPolicy(Qt::NoFocus); // Delete does the same
    m_remove->hide();
    connect(m_remove, &QToolButton::clicked, this, &RecentCard::removeRequested);
}

void RecentCard::setFound(bool isThere, const QImage& picture) {
    m_isMissing = !isThere;
    m_picture = picture;
    m_remove->setVisible(m_isMissing || underMouse());
    update();
}

void RecentCard::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setPen(QPen(hasFocus() ? theme::kAccent : theme::kBorder, hasFocus() ? 2.0 : 1.0));
    painter.setBrush(isDown() ? theme::kChosen : underMouse() ? theme::kHover : theme::kBody);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 5, 5);

    const QRect picture(QPoint(kMargin, kMargin), kPicture);
    painter.fillRect(picture, theme::kSurface);
    painter.setOpacity(m_isMissing ? 0.35 : 1.0);
    painter.drawImage(picture, m_picture);
    painter.setOpacity(1.0);

    const QRect text = rect().adjusted(kPicture.width() + 2 * kMargin + 4, kMargin, -kMargin, -kMargin);
    const int line = text.height() / 3;
    const auto draw = [&](int row, const QString& shown, const QColor& colour, Qt::TextElideMode elide,
                          int width) {
        painter.setPen(colour);
        painter.drawText(QRect(text.left(), text.top() + row * line, width, line),
                         Qt::AlignVCenter | Qt::AlignLeft,
                         painter.fontMetrics().elidedText(shown, elide, width));
    };
    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    draw(0, m_project.name, m_isMissing ? theme::kQuiet : theme::kText, Qt::ElideRight,
         text.width() - m_remove->width());
    painter.setFont(font());
    draw(1, QDir::toNativeSeparators(m_project.folder), theme::kQuiet, Qt::ElideMiddle, text.width());
    draw(2, m_isMissing ? tr("找不到") : tr("打开于 %1").arg(m_project.opened),
         m_isMissing ? theme::kDanger : theme::kQuiet, Qt::ElideRight, text.width());
}

void RecentCard::resizeEvent(QResizeEvent* /*event*/) {
    m_remove->adjustSize();
    m_remove->move(width() - m_remove->width() - 4, 4);
}

void RecentCard::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
    } else if (event->key() == Qt::Key_Delete) {
        emit removeRequested();
    } else {
        QAbstractButton::keyPressEvent(event);
    }
}

void RecentCard::enterEvent(QEnterEvent* event) {
    m_remove->show();
    QAbstractButton::enterEvent(event);
}

void RecentCard::leaveEvent(QEvent* event) {
    m_remove->setVisible(m_isMissing);
    QAbstractButton::leaveEvent(event);
}
