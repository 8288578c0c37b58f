#include "workbench/inspection/table/AnomalyFilterBar.h"

#include "workbench/inspectiondata/text/AnomalyTexts.h"
#include "workbench/style/SearchField.h"
#include "workbench/style/ToolTip.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>

namespace inspection {

namespace {

constexpr std::array kMostPipeMetres{2, 5, 10, 20, 50, 100};

QString filterTitle(int filter) {
    switch (static_cast<AttributeFilter>(filter)) {
    case AttributeFilter::All:
        return AnomalyFilterBar::tr("全部属性");
    case AttributeFilter::NotJudged:
        return AnomalyFilterBar::tr("未判定");
    case AttributeFilter::OtherWords:
        return AnomalyFilterBar::tr("自定义");
    case AttributeFilter::Deleted:
        return AnomalyFilterBar::tr("已删除");
    default:
        return fixedClasses()[filter - static_cast<int>(AttributeFilter::FirstClass)];
    }
}

QComboBox* makeFilter(const char* name, const QString& toolTip) {
    auto* filter = new QComboBox;
    filter->setObjectName(name);
    filter->setToolTip(toolTip);
    filter->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    return filter;
}

QHBoxLayout* makeLine() {
    auto* line = new QHBoxLayout;
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(6);
    return line;
}

} // namespace

AnomalyFilterBar::AnomalyFilterBar(QWidget* parent)
    : QWidget(parent), m_summary(new QLabel), m_words(new SearchField), m_export(new QToolButton),
      m_attribute(makeFilter("attributeFilter", tr("只显示这种属性的异常；已删除的可以在这里找到并恢复"))),
      m_suggested(makeFilter("suggestedFilter", tr("只显示建议为这种类别的异常"))),
      m_distance(makeFilter("distanceFilter", tr("只显示轮廓离管道中心线不超过该距离的异常"))),
      m_sign(makeFilter("signFilter", tr("只显示填方或挖方"))), m_significant(new QCheckBox(tr("只看显著"))) {
    m_summary->setObjectName("anomalySummary");
    m_summary->setTextFormat(Qt::PlainText);
    m_summary->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_words->setObjectName("anomalySearch");
    m_words->setPlaceholderText(tr("搜索 Ctrl+F"));
    m_words->setToolTip(tr("在名称、站段、类型、属性和建议类别中查找；多个词之间用空格，须都出现"));
    m_export->setObjectName("anomalyExport");
    m_export->setText(tr("导出"));
    m_export->setToolTip(tr("把表中显示的异常存为文件"));
    m_export->setPopupMode(QToolButton::InstantPopup);
    m_significant->setObjectName("significanceFilter");
    m_significant->setToolTip(
        tr("只显示体积大于其 1.96 倍标准差（95% 置信度）的异常；没有标准差的旧结果不显示，"
           "重新计算后才有"));
    fillFilters();
    setRows({});
    build();

    connect(m_words, &QLineEdit::textChanged, this, &AnomalyFilterBar::criteriaChanged);
    connect(m_words, &SearchField::left, this, &AnomalyFilterBar::left);
    connect(m_words, &SearchField::foundWanted, this, &AnomalyFilterBar::left);
    for (QComboBox* filter : {m_attribute, m_suggested, m_distance, m_sign}) {
        connect(filter, &QComboBox::currentIndexChanged, this, &AnomalyFilterBar::criteriaChanged);
    }
    connect(m_significant, &QCheckBox::toggled, this, &AnomalyFilterBar::criteriaChanged);
}

void AnomalyFilterBar::fillFilters() {
    for (int filter = 0; filter < kAttributeFilters; ++filter) {
        m_attribute->addItem(filterTitle(filter));
    }
    m_suggested->addItem(tr("全部建议类别"));
    for (const QString& suggested : fixedClasses()) {
        m_suggested->addItem(tr("建议 %1").arg(suggested), suggested);
    }
    m_distance->addItem(tr("不限距离"));
    for (const int metres : kMostPipeMetres) {
        m_distance->addItem(tr("距管线 ≤%1 m").arg(metres), double(metres));
    }
    m_sign->addItems({tr("填方和挖方"), tr("填方"), tr("挖方")});
}

void AnomalyFilterBar::build() {
    constexpr int kSearchWidth = 150;
    m_words->setFixedWidth(kSearchWidth);
    QHBoxLayout* top = makeLine();
    top->addWidget(m_summary, 1);
    top->addWidget(m_words);
    top->addWidget(m_export);
    QHBoxLayout* filters = makeLine();
    for (QWidget* filter :
         std::initializer_list<QWidget*>{m_attribute, m_suggested, m_distance, m_sign, m_significant}) {
        filters->addWidget(filter);
    }
    filters->addStretch(1);
    auto* lines = new QVBoxLayout(this);
    lines->setContentsMargins(0, 0, 0, 0);
    lines->setSpacing(4);
    lines->addLayout(top);
    lines->addLayout(filters);
}

void AnomalyFilterBar::setSummary(const QString& text) {
    m_summary->setText(text);
    m_summary->setToolTip(plainToolTip(text));
}

void AnomalyFilterBar::setRows(const std::vector<AnomalyRow>& rows) {
    const auto counts = countByAttribute(rows);
    for (int filter = 0; filter < kAttributeFilters; ++filter) {
        m_attribute->setItemText(
            filter,
            QStringLiteral("%1 (%2)").arg(filterTitle(filter)).arg(counts[static_cast<std::size_t>(filter)]));
    }
}

AnomalyCriteria AnomalyFilterBar::criteria() const {
    AnomalyCriteria criteria;
    criteria.attribute = static_cast<AttributeFilter>(m_attribute->currentIndex());
    criteria.sign = static_cast<SignFilter>(m_sign->currentIndex());
    criteria.significance =
        m_significant->isChecked() ? SignificanceFilter::Significant : SignificanceFilter::All;
    const QVariant metres = m_distance->currentData();
    criteria.mostPipeMetres = metres.isValid() ? std::optional(metres.toDouble()) : std::nullopt;
    criteria.suggested = m_suggested->currentData().toString();
    criteria.words = m_words->text().simplified();
    return criteria;
}

void AnomalyFilterBar::setExportMenu(QMenu* menu) {
    m_export->setMenu(menu);
}

void AnomalyFilterBar::search() {
    m_words->begin();
}

void AnomalyFilterBar::clearWords() {
    m_words->clear();
}

} // namespace inspection
