#include "host/style/titleBar.h"

#include <QEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QWindow>

namespace {

enum class Glyph { Minimize, Maximize, Close };

constexpr int kGlyphPixels = 12;

QIcon glyphIcon(Glyph glyph) {
    constexpr int kOversampling = 4;
    QPixmap pixmap(kGlyphPixels * kOversampling, kGlyphPixels * kOversampling);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(kOversampling, kOversampling);
    painter.setPen(QPen(Qt::white, 1.3, Qt::SolidLine, Qt::RoundCap, Qt::MiterJoin));
    switch (glyph) {
    case Glyph::Minimize:
        painter.drawLine(QPointF(2, 9), QPointF(10, 9));
        break;
    case Glyph::Maximize:
        painter.drawRect(QRectF(2, 2, 8, 8));
        break;
    case Glyph::Close:
        painter.drawLine(QPointF(2, 2), QPointF(10, 10));
        painter.drawLine(QPointF(10, 2), QPointF(2, 10));
        break;
    }
    painter.end();
    pixmap.setDevicePixelRatio(kOversampling);
    return pixmap;
}

QPushButton* makeButton(QWidget* parent, const char* objectName, Glyph glyph, const QString& meaning) {
    auto* button = new QPushButton(parent);
    button->setObjectName(QLatin1String(objectName));
    button->setIcon(glyphIcon(glyph));
    button->setIconSize(QSize(kGlyphPixels, kGlyphPixels));
    button->setToolTip(meaning);
    button->setAccessibleName(meaning);
    // Enter belongs to the form's default button, Tab to its fields.
    button->setFocusPolicy(Qt::NoFocus);
    button->setAutoDefault(false);
    return button;
}

// What task bars and window switchers show. The widget's own title stays: forms are known by it.
void nameWindow(const titleBar& bar) {
    if (QWindow* handle = bar.window()->windowHandle(); handle && !bar.titleContent().isEmpty()) {
        handle->setTitle(bar.titleContent());
    }
}

/// Names the bar's window when it comes on the screen.
class WindowName : public QObject {
public:
    explicit WindowName(titleBar& bar) : QObject(&bar), m_bar(bar) { bar.installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show) {
            nameWindow(m_bar);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    titleBar& m_bar;
};

} // namespace

titleBar::titleBar(QWidget* parent)
    : QWidget(parent), m_title(new QLabel(this)),
      m_minimize(makeButton(this, "titleBarMinimize", Glyph::Minimize, QStringLiteral("最小化"))),
      m_maximize(makeButton(this, "titleBarMaximize", Glyph::Maximize, QStringLiteral("最大化"))),
      m_close(makeButton(this, "titleBarClose", Glyph::Close, QStringLiteral("关闭"))) {
    setAttribute(Qt::WA_StyledBackground);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_title->setObjectName(QStringLiteral("titleBarText"));
    m_title->setTextFormat(Qt::PlainText);
    // Presses on the text drag the window like presses beside it.
    m_title->setAttribute(Qt::WA_TransparentForMouseEvents);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_title, 1);
    for (QPushButton* button : {m_minimize, m_maximize, m_close}) {
        layout->addWidget(button);
    }

    connect(m_minimize, &QPushButton::clicked, this, &titleBar::signalMinimize);
    connect(m_maximize, &QPushButton::clicked, this, &titleBar::signalMaximize);
    connect(m_close, &QPushButton::clicked, this, &titleBar::signalClose);
    setButtonType(MinMaxClose);
    setTitleContent(QString());
    new WindowName(*this);
}

void titleBar::setTitleContent(const QString& text, int pointSize) {
    QFont font = m_title->font();
    font.setPointSize(pointSize);
    m_title->setFont(font);
    m_title->setText(text);
    nameWindow(*this);

    const int heightPixels = QFontMetrics(font).height() + 14;
    setFixedHeight(heightPixels);
    // By style sheet, because the window's own sheet would win over a fixed size.
    const QString size =
        QStringLiteral("min-width: %1px; max-width: %1px; min-height: %2px; max-height: %2px;")
            .arg(heightPixels * 5 / 4)
            .arg(heightPixels);
    for (QPushButton* button : {m_minimize, m_maximize, m_close}) {
        button->setStyleSheet(size);
    }
}

void titleBar::setButtonType(int type) {
    m_minimize->setVisible(type == MinMaxClose || type == MinClose);
    m_maximize->setVisible(type == MinMaxClose);
}

void titleBar::setTitleWidth(int widthPixels) {
    setMinimumWidth(widthPixels);
}

QString titleBar::titleContent() const {
    return m_title->text();
}

void titleBar::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    m_dragOffset = event->globalPosition().toPoint() - window()->pos();
    // Wayland lets only the compositor move a window.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")) && window()->windowHandle()) {
        window()->windowHandle()->startSystemMove();
    }
}

void titleBar::mouseMoveEvent(QMouseEvent* event) {
    if ((event->buttons() & Qt::LeftButton) && !window()->isMaximized()) {
        window()->move(event->globalPosition().toPoint() - m_dragOffset);
    }
}

void titleBar::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && !m_maximize->isHidden()) {
        emit signalMaximize();
    }
}
