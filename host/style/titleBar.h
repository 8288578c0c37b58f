#pragma once

#include "host/Export.h"

#include <QPoint>
#include <QString>
#include <QWidget>

class QLabel;
class QPushButton;

/// Title bar of the product's own windows: a text, buttons, and an area that drags the window. A maximised
/// window stays where it is; a double click maximises where the bar has that button. GUI thread.
class STYLE_API titleBar : public QWidget {
    Q_OBJECT

public:
    /// Which buttons the bar shows.
    enum ButtonType { MinMaxClose = 0, MinClose = 1, OnlyClose = 2 };

    /// The bar drags the window that `parent` belongs to.
    explicit titleBar(QWidget* parent);

    /// `pointSize` is the text's size in points; height and buttons of the bar follow it.
    void setTitleContent(const QString& text, int pointSize = 10);
    /// One of ButtonType; other values show the close button alone.
    void setButtonType(int type);
    /// Least width in pixels that the bar asks for.
    void setTitleWidth(int widthPixels);
    QString titleContent() const;

signals:
    /// A button was clicked; what follows is up to the window. BaseDialog and BaseWindow minimise, maximise or
    /// restore, and close themselves.
    void signalMinimize();
    void signalMaximize();
    void signalClose();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    QLabel* m_title;
    QPushButton* m_minimize;
    QPushButton* m_maximize;
    QPushButton* m_close;
    QPoint m_dragOffset;
};
