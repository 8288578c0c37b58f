#include "workbench/inspection/table/AttributeDelegate.h"

#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QComboBox>
#include <QLineEdit>

#include <optional>

namespace inspection {

namespace {

/// Knows what it began with, and whether a choice was made in its list, which ends the edit, or by walking with
/// the arrow keys, which does not.
class AttributeEditor : public QComboBox {
public:
    using QComboBox::QComboBox;
    /// Only once: later on the text is the user's.
    void begin(const QString& text, const QString& shown) {
        if (m_first) {
            return;
        }
        m_first = shown;
        setCurrentIndex(findText(text));
        setEditText(shown);
        lineEdit()->selectAll();
    }
    bool isChanged() const { return currentText() != m_first; }
    bool isListUsed() const { return m_isListUsed; }
    void showPopup() override {
        m_isListUsed = true;
        QComboBox::showPopup();
    }

protected:
    void keyPressEvent(QKeyEvent* event) override {
        m_isListUsed = false;
        QComboBox::keyPressEvent(event);
    }

private:
    std::optional<QString> m_first;
    bool m_isListUsed = false;
};

} // namespace

QWidget* AttributeDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                         const QModelIndex& /*index*/) const {
    auto* editor = new AttributeEditor(parent);
    editor->setObjectName("attributeEditor");
    editor->setEditable(true);
    editor->setInsertPolicy(QComboBox::NoInsert);
    editor->addItems(fixedClasses());
    connect(editor, SIGNAL(activated(int)), this, SLOT(commitChoice()));
    emit opened(editor);
    return editor;
}

void AttributeDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    if (auto* box = dynamic_cast<AttributeEditor*>(editor)) {
        box->begin(index.data(Qt::EditRole).toString(), index.data(Qt::DisplayRole).toString());
    }
}

void AttributeDelegate::setModelData(QWidget* editor, QAbstractItemModel* /*model*/,
                                     const QModelIndex& index) const {
    // Left as it was, an attribute keeps what one line cannot show, such as its line breaks.
    if (const auto* box = dynamic_cast<AttributeEditor*>(editor); box && box->isChanged()) {
        emit chosen(index, box->currentText());
    }
}

void AttributeDelegate::commitChoice() {
    auto* editor = dynamic_cast<AttributeEditor*>(sender());
    if (!editor || !editor->isListUsed()) {
        return;
    }
    emit commitData(editor);
    emit closeEditor(editor);
}

} // namespace inspection
