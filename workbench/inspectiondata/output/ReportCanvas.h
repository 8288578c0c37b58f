#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QRectF>
#include <QString>

namespace inspection {

/// The pages of a PDF report, A4 upright. Positions and sizes are in millimetres from the page's upper left
/// corner unless a name says device: those are units of the painter, 300 to an inch, y downwards as well. Any
/// thread; the file is complete when the object has gone.
class ReportCanvas {
public:
    static constexpr double kPageWidth = 210.0;
    static constexpr double kPageHeight = 297.0;
    static constexpr double kMargin = 14.0;
    static constexpr double kTop = 24.0;     ///< below the running head
    static constexpr double kBottom = 280.0; ///< above the page number
    static constexpr double kWidth = kPageWidth - 2.0 * kMargin;

    static inline const QColor kInk{33, 37, 41};
    static inline const QColor kQuiet{108, 117, 125};
    static inline const QColor kAccent{24, 68, 118};
    static inline const QColor kRule{206, 212, 218};
    static inline const QColor kTint{240, 244, 248};

    /// `target` is open for writing and outlives it. `title` is the PDF's own; `runningHead` stands on every page
    /// but the first.
    ReportCanvas(QIODevice& target, const QString& title, const QString& runningHead);

    QPainter& painter() { return m_painter; }
    double unitsPerMillimetre() const { return m_units; }
    QRectF device(const QRectF& millimetres) const;
    /// A Chinese font of this size in points, the first of a list that the machine has.
    QFont font(double points, bool bold = false) const;

    /// Begins the next page, with its running head and page number. `pages` is the number of all pages.
    void nextPage(int pages);

    /// `flags` are Qt's of alignment and wrapping. What does not fit runs out of the box.
    void text(const QRectF& box, const QString& text, double points,
              int flags = Qt::AlignLeft | Qt::AlignVCenter, const QColor& colour = kInk, bool bold = false);
    void fill(const QRectF& box, const QColor& colour);
    /// A level line whose middle is at y.
    void rule(double x, double y, double width, const QColor& colour = kRule, double thickness = 0.2);
    /// Heading of a section; returns where the text below it begins.
    double heading(double y, const QString& text);
    /// Centred in the box, whole, with its proportions; nothing for a null picture.
    void image(const QRectF& box, const QImage& picture);

private:
    QPdfWriter m_writer;
    QPainter m_painter;
    QString m_runningHead;
    double m_units;
    int m_page = 0;
};

} // namespace inspection
