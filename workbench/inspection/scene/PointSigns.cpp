#include "workbench/inspection/scene/PointSigns.h"

#include "host/Gbk.h"
#include "workbench/inspection/scene/OverlayPicture.h"

#include <osgDB/ReadFile>

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QStringList>

#include <algorithm>

namespace inspection {

namespace {

struct Sign {
    PointKind kind;
    QStringList words;
    QString letter;
    QColor colour;
};

/// The first whose word occurs is meant: a crossing below a village's road is a crossing.
const std::vector<Sign>& signsOfKinds() {
    static const std::vector<Sign> signs = {
        {PointKind::Valve, {"阀"}, "阀", {0x1d, 0x4e, 0x89}},
        {PointKind::Crossing, {"穿越", "跨越"}, "穿", {0x00, 0x79, 0x6b}},
        {PointKind::Post, {"桩"}, "桩", {0x9a, 0x5b, 0x13}},
        {PointKind::School, {"学校", "小学", "中学", "大学", "学院", "幼儿园"}, "校", {0x6a, 0x1b, 0x9a}},
        {PointKind::Hospital, {"医院", "卫生院", "卫生室", "诊所"}, "医", {0xad, 0x14, 0x57}},
        {PointKind::Plant,
         {"场站", "站场", "分输", "清管", "压气站", "泵站", "首站", "末站"},
         "站",
         {0x3f, 0x3d, 0x8f}},
        {PointKind::Dwelling, {"村", "居民", "小区", "社区", "住宅"}, "居", {0x5d, 0x40, 0x37}}};
    return signs;
}

const Sign* signNamedIn(const QString& text) {
    const std::vector<Sign>& signs = signsOfKinds();
    const auto found = std::find_if(signs.begin(), signs.end(), [&](const Sign& sign) {
        return std::any_of(sign.words.begin(), sign.words.end(),
                           [&](const QString& word) { return text.contains(word); });
    });
    return found == signs.end() ? nullptr : &*found;
}

/// A round head over a tip that stands on the place, like the tools' marker.
QImage pin(const Sign& sign) {
    constexpr int kPixels = 32;
    QImage picture(kPixels, kPixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF head(4.0, 1.0, 24.0, 24.0);
    QPainterPath shape;
    shape.addEllipse(head);
    QPainterPath tip;
    tip.addPolygon(QPolygonF({{9.0, 21.0}, {23.0, 21.0}, {16.0, 31.0}}));
    tip.closeSubpath();
    painter.setPen(QPen(Qt::white, 1.6));
    painter.setBrush(sign.colour);
    painter.drawPath(shape.united(tip));
    QFont font = painter.font();
    font.setPixelSize(14);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(head.translated(0.0, 0.5), Qt::AlignCenter, sign.letter);
    return picture;
}

osg::ref_ptr<osg::Image> drawn(PointKind kind) {
    const std::vector<Sign>& signs = signsOfKinds();
    const auto found =
        std::find_if(signs.begin(), signs.end(), [kind](const Sign& sign) { return sign.kind == kind; });
    return found == signs.end() ? osgDB::readRefImageFile("icon/Placemark_32.png") : osgPicture(pin(*found));
}

} // namespace

PointKind pointKindOf(const QString& attribute, const QString& name) {
    const Sign* sign = signNamedIn(attribute);
    sign = sign ? sign : signNamedIn(name);
    return sign ? sign->kind : PointKind::Other;
}

osg::ref_ptr<osg::Image> chosenSign(const osg::Image& sign) {
    const osg::Vec3f kYellow(1.0F, 0.8F, 0.0F);
    const osg::Vec3f kDark(0.22F, 0.16F, 0.0F);
    osg::ref_ptr<osg::Image> chosen = new osg::Image;
    chosen->allocateImage(sign.s(), sign.t(), 1, GL_RGBA, GL_UNSIGNED_BYTE);
    for (int row = 0; row < sign.t(); ++row) {
        for (int column = 0; column < sign.s(); ++column) {
            const auto s = static_cast<unsigned>(column);
            const auto t = static_cast<unsigned>(row);
            const osg::Vec4f colour = sign.getColor(s, t);
            const float light = std::max({colour.r(), colour.g(), colour.b()});
            const float grey = std::min({colour.r(), colour.g(), colour.b()});
            const float saturation = light > 0.0F ? (light - grey) / light : 0.0F;
            const float share = std::min(1.0F, 2.0F * saturation);
            chosen->setColor(osg::Vec4f(kYellow * share + kDark * (1.0F - share), colour.a()), s, t);
        }
    }
    return chosen;
}

osg::Image* PointSigns::signOf(const Special_Point& point) {
    return signOf(pointKindOf(fromGbk(point.m_attribute), fromGbk(point.GetName())));
}

osg::Image* PointSigns::signOf(PointKind kind) {
    const auto [sign, isNew] = m_signs.try_emplace(kind);
    if (isNew) {
        sign->second = drawn(kind);
    }
    return sign->second.get();
}

} // namespace inspection
