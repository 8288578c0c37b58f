#include "workbench/app/Notice.h"

#include "workbench/inspection/images/ElidedLabel.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QToolButton>

#include <algorithm>

namespace {
constexpr int kShownMilliseconds = 20000;
constexpr int kWidestTextInLetters = 40;
} // namespace

Notice::Notice(QWidget* parent)
    : QWidget(parent), m_text(new inspection::ElidedLabel(this)), m_row(new QHBoxLayout(this)) {
    setObjectName("notice");
    m_text->setObjectName("noticeText");
    m_row->setContentsMargins(6, 0, 6, 0);
    m_row->setSpacing(4);
    m_row->addWidget(m_text, 1);
    hide();
    m_time.setInterval(kShownMilliseconds);
    connect(&m_time, &QTimer::timeout, this, [this] {
        if (!underMouse() && !isAncestorOf(QApplication::focusWidget())) {
            withdraw();
        }
    });
}

void Notice::tell(const QString& text, const std::vector<Action>& actions) {
    withdraw();
    m_text->setFullText(text);
    for (const Action& action : actions) {
        addButton(action);
    }
    updateGeometry();
    show();
    m_time.start();
}

QSize Notice::sizeHint() const {
    const QFontMetrics metrics = m_text->fontMetrics();
    const int textPixels = std::min(metrics.horizontalAdvance(m_text->text()) + metrics.averageCharWidth(),
                                    kWidestTextInLetters * metrics.averageCharWidth());
    return QWidget::sizeHint() + QSize(textPixels, 0);
}

void Notice::addButton(const Action& action) {
    auto* button = new QToolButton(this);
    button->setText(action.text);
    button->setToolTip(action.tip);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    m_row->addWidget(button);
    connect(button, &QToolButton::clicked, this, [this, run = action.run] {
        withdraw();
        run();
    });
}

void Notice::withdraw() {
    m_time.stop();
    hide();
    for (QToolButton* button : findChildren<QToolButton*>()) {
        button->hide();
        button->deleteLater(); // it may be the one that is clicked
    }
}
