#include "workbench/app/PairBox.h"

#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/project/EpochTitles.h"
#include "workbench/style/ToolTip.h"

#include <QWheelEvent>

#include <algorithm>

using inspection::EpochPair;

PairBox::PairBox(QWidget* parent) : QComboBox(parent) {
    setObjectName("pairs");
    setToolTip(tr("列表、地球和报告显示哪两期的对比结果，“计算异常”计算哪两期；✓ 表示已计算"));
    // As wide as two dates and the mark; the names of undated epochs are cut.
    setMinimumContentsLength(22);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setFocusPolicy(Qt::StrongFocus);
    setEnabled(false);
    connect(this, QOverload<int>::of(&QComboBox::activated), this, [this](int index) {
        if (index >= 0 && index < static_cast<int>(m_pairs.size())) {
            emit pairChosen(m_pairs[static_cast<std::size_t>(index)]);
        }
    });
}

void PairBox::showProject() {
    const auto* project = InspectionContext::instance().project();
    m_pairs = project ? project->description().pairs() : std::vector<EpochPair>();
    clear();
    m_titles.clear();
    for (const EpochPair& pair : m_pairs) {
        m_titles << inspection::pairTitle(project->description(), pair);
    }
    addItems(m_titles);
    markComputed();
    showCurrent();
    setEnabled(count() > 1);
}

void PairBox::markComputed() {
    const auto computed = InspectionContext::instance().computedPairs();
    for (int index = 0; index < count(); ++index) {
        const EpochPair& pair = m_pairs[static_cast<std::size_t>(index)];
        const bool isComputed = std::find(computed.begin(), computed.end(), pair) != computed.end();
        setItemText(index, m_titles[index] + (isComputed ? QStringLiteral(" ✓") : QString()));
        const QString state = isComputed ? tr("已计算") : tr("未计算");
        setItemData(index, plainToolTip(m_titles[index] + '\n' + state),
                    Qt::ToolTipRole); // long names are cut
    }
}

void PairBox::showCurrent() {
    const auto* project = InspectionContext::instance().project();
    const auto current =
        project ? std::find(m_pairs.begin(), m_pairs.end(), project->description().pair()) : m_pairs.end();
    setCurrentIndex(current == m_pairs.end() ? -1 : static_cast<int>(current - m_pairs.begin()));
}

void PairBox::wheelEvent(QWheelEvent* event) {
    if (hasFocus()) {
        QComboBox::wheelEvent(event);
    } else {
        event->ignore();
    }
}

void PairBox::showPopup() {
    markComputed();
    QComboBox::showPopup();
}
