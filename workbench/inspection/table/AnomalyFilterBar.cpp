#include "workbench/inspection/table/AnomalyFilterBar.h"

#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>

namespace inspection {

namespace {

QString filterTitle(int filter) {
    switch (static_cast<AttributeFilter>(filter)) {
    case AttributeFilter::All:
        return AnomalyFilterBar::tr("全部属性");
    case AttributeFilter::NotJudged:
        return AnomalyFilterBar::tr("未判定");
    case AttributeFilter::OtherWords:
        return AnomalyFilterBar::tr("自定义");
    default:
        return fixedClasses()[filter - static_cast<int>(AttributeFilter::FirstClass)];
    }
}

} // namespace

AnomalyFilterBar::AnomalyFilterBar(QWidget* parent)
    : QWidget(parent), m_summary(new QLabel), m_attribute(new QComboBox), m_sign(new QComboBox),
      m_significant(new QCheckBox(tr("只看显著"))) {
    m_summary->setObjectName("anomalySummary");
    m_summary->setTextFormat(Qt::PlainText);
    m_summary->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_attribute->setObjectName("attributeFilter");
    m_attribute->setToolTip(tr("只显示这种属性的异常"));
    m_attribute->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    for (int filter = 0; filter < kAttributeFilters; ++filter) {
        m_attribute->addItem(filterTitle(filter));
    }
    m_sign->setObjectName("signFilter");
    m_sign->setToolTip(tr("只显示填方或挖方"));
    m_sign->addItems({tr("填方和挖方"), tr("填方"), tr("挖方")});
    m_significant->setObjectName("significanceFilter");
    m_significant->setToolTip(
        tr("只显示体积大于其 1.96 倍标准差（95% 置信度）的异常；没有标准差的旧结果不显示，"
           "重新计算后才有"));
    setAnomalies({});

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(m_summary, 1);
    row->addWidget(m_attribute);
    row->addWidget(m_sign);
    row->addWidget(m_significant);

    connect(m_attribute, &QComboBox::currentIndexChanged, this,
            [this](int index) { emit attributeChosen(static_cast<AttributeFilter>(index)); });
    connect(m_sign, &QComboBox::currentIndexChanged, this,
            [this](int index) { emit signChosen(static_cast<SignFilter>(index)); });
    connect(m_significant, &QCheckBox::toggled, this, [this](bool isOn) {
        emit significanceChosen(isOn ? SignificanceFilter::Significant : SignificanceFilter::All);
    });
}

void AnomalyFilterBar::setSummary(const QString& text) {
    m_summary->setText(text);
    m_summary->setToolTip(text);
}

void AnomalyFilterBar::setAnomalies(const std::vector<SdiffData>& anomalies) {
    const auto counts = countByAttribute(anomalies);
    for (int filter = 0; filter < kAttributeFilters; ++filter) {
        m_attribute->setItemText(
            filter,
            QStringLiteral("%1 (%2)").arg(filterTitle(filter)).arg(counts[static_cast<std::size_t>(filter)]));
    }
}

} // namespace inspection
