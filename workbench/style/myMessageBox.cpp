#include "host/style/myMessageBox.h"

#include "host/style/BaseDialog.h"
#include "workbench/style/Theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int kConfirmed = 0;
constexpr int kDeclined = 1;

QPixmap pictureOf(int type, int sizePixels, qreal devicePixelRatio) {
    switch (type) {
    case myMessageBox::Success:
        return theme::signPixmap(theme::Sign::Check, theme::kSuccess, sizePixels, devicePixelRatio);
    case myMessageBox::Question:
        return theme::signPixmap(theme::Sign::Question, theme::kAccent, sizePixels, devicePixelRatio);
    case myMessageBox::Warning:
        return theme::signPixmap(theme::Sign::Exclamation, theme::kWarning, sizePixels, devicePixelRatio);
    default:
        return theme::signPixmap(theme::Sign::Information, theme::kAccent, sizePixels, devicePixelRatio);
    }
}

class MessageDialog : public BaseDialog {
public:
    MessageDialog(QWidget* parent, const QString& title, const QString& text, int type, int buttons)
        : BaseDialog(parent) {
        setObjectName(QStringLiteral("myMessageBox"));
        setWindowTitle(title);
        m_titleBar->setTitleContent(title);
        m_titleBar->setButtonType(titleBar::OnlyClose);

        auto* form = new QVBoxLayout(this);
        form->setContentsMargins(20, 18, 20, 16);
        form->setSpacing(18);
        form->addLayout(makeMessage(text, type));
        form->addLayout(makeButtons(buttons));
        updateLayout();
        adjustSize();
        m_first->setDefault(true);
        m_first->setFocus();
    }

private:
    QLayout* makeMessage(const QString& text, int type) {
        const int linePixels = fontMetrics().height();
        auto* picture = new QLabel(this);
        picture->setObjectName(QStringLiteral("labelPicture"));
        picture->setPixmap(pictureOf(type, linePixels * 5 / 2, devicePixelRatioF()));
        auto* message = new QLabel(text, this);
        message->setObjectName(QStringLiteral("labelText"));
        message->setTextFormat(Qt::PlainText);
        message->setTextInteractionFlags(Qt::TextSelectableByMouse);
        message->setWordWrap(true);
        // Short texts stay on one line, long ones wrap at a comfortable length.
        const int widthPixels =
            message->fontMetrics().boundingRect(QRect(0, 0, 30 * linePixels, 0), 0, text).width();
        message->setMinimumWidth(qBound(10 * linePixels, widthPixels + linePixels, 26 * linePixels));

        auto* row = new QHBoxLayout;
        row->setSpacing(16);
        row->addWidget(picture, 0, Qt::AlignTop);
        row->addWidget(message, 1, Qt::AlignVCenter);
        return row;
    }

    QLayout* makeButtons(int buttons) {
        auto* row = new QHBoxLayout;
        row->setSpacing(10);
        row->addStretch(1);
        const bool yesNo = buttons != myMessageBox::Ok;
        auto* confirm = new QPushButton(yesNo ? QStringLiteral("是") : QStringLiteral("确定"), this);
        confirm->setObjectName(yesNo ? QStringLiteral("pushButtonYes") : QStringLiteral("pushButtonOK"));
        connect(confirm, &QPushButton::clicked, this, &QDialog::accept);
        row->addWidget(confirm);
        m_first = confirm;
        if (yesNo) {
            auto* decline = new QPushButton(QStringLiteral("否"), this);
            decline->setObjectName(QStringLiteral("pushButtonNo"));
            connect(decline, &QPushButton::clicked, this, &QDialog::reject);
            row->addWidget(decline);
            m_first = buttons == myMessageBox::YesNoCautious ? decline : confirm;
        }
        return row;
    }

    QPushButton* m_first = nullptr; ///< what Enter presses
};

} // namespace

int myMessageBox::showMyMessageBox(QWidget* parent, const QString& title, const QString& text, int type,
                                   int buttons, bool modal) {
    // Guarded, because the parent may be deleted while the box is open.
    const QPointer<MessageDialog> box = new MessageDialog(parent, title, text, type, buttons);
    if (!modal) {
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->show();
        return kConfirmed;
    }
    box->setWindowModality(Qt::ApplicationModal);
    const int answer = box->exec();
    delete box.data();
    return answer == QDialog::Accepted ? kConfirmed : kDeclined;
}
