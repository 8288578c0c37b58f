#pragma once

#include "host/style/BaseDialog.h"
#include "workbench/inspectiondata/project/BaseLayer.h"

#include <vector>

class QLabel;
class QLineEdit;
class QPushButton;
class QTableWidget;

/// The window in which the user chooses what lies behind the project's rasters. Every change is told at once.
/// GUI thread.
class BaseLayerDialog : public BaseDialog {
    Q_OBJECT

public:
    /// Bottom layer first. `notice` is one line that stays, such as why nothing will be stored.
    BaseLayerDialog(std::vector<inspection::BaseLayer> layers, const QString& notice, QWidget* parent);
    ~BaseLayerDialog() override;

    /// Bottom layer first.
    const std::vector<inspection::BaseLayer>& layers() const { return m_layers; }
    /// Shows one line below the table.
    void tell(const QString& line);

public slots:
    void addFile();
    void addFolder();
    /// Adds what stands in the address field, or tells why it cannot be one.
    void addAddress();

signals:
    void changed();

private:
    void build(const QString& notice);
    QPushButton* addButton(const QString& text, const char* name, void (BaseLayerDialog::*action)());
    void add(const QString& source, const QString& name);
    void fill(int selectedRow);
    void takeCell(int row, int column);
    void moveUp() { move(-1); }
    void moveDown() { move(1); }
    void move(int step);
    void remove();
    void enableButtons();
    int selectedRow() const;
    inspection::BaseLayer& layerAt(int row);

    std::vector<inspection::BaseLayer> m_layers;
    QTableWidget* m_table;
    QLineEdit* m_address;
    QLabel* m_message;
    QPushButton* m_up = nullptr;
    QPushButton* m_down = nullptr;
    QPushButton* m_remove = nullptr;
};
