#pragma once

#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/IORVAContext.h"

#include <QStringList>

#include <memory>
#include <vector>

/// An edit that only notes what happens to it.
class NotedEdit : public EditCommand {
public:
    NotedEdit(QString text, QStringList& log) : m_text(std::move(text)), m_log(log) {}
    void Undo(bool refresh) override;
    void Redo(bool refresh) override;
    void GetText(std::string& text) override;
    void describeAs(const QString& text) { m_text = text; }

private:
    QString m_text;
    QStringList& m_log;
};

/// A whole edit history, kept in memory, with the signals and the context that the commands reach it through.
class MemoryHistory : public EditHistory, public AVWindow, public IORVAContext {
public:
    MemoryHistory();
    ~MemoryHistory() override;

    /// While it lives, there is no context.
    class Away {
    public:
        Away();
        ~Away();
        Away(const Away&) = delete;
        Away& operator=(const Away&) = delete;

    private:
        MemoryHistory* const m_history;
    };

    /// Records an edit; reported to the commands unless `isListed` is false.
    void record(const QString& text, bool isListed = true);

    /// Changes what the newest edit says of itself; nobody is told.
    void describeNewestAs(const QString& text) { m_edits.back()->describeAs(text); }

    bool CanUndo() override { return m_undone < m_edits.size(); }
    bool CanRedo() override { return m_undone > 0; }
    EditCommand* TakeUndo() override;
    EditCommand* TakeRedo() override;
    void UndoSteps(int count) override;

    // The context.
    StationWindow* GetStationWindow() override { return nullptr; }
    AVWindow* GetAVWindow() override { return isTableThere ? this : nullptr; }
    KVImageWindow* GetKVImageWindow() override { return nullptr; }
    DataSetManager* GetDataSetManager() override { return nullptr; }
    EditHistory* GetEditHistory() override { return isRecording ? this : nullptr; }
    QWidget* GetMainWindow() override { return nullptr; }

    // The table has nothing to show here.
    KV_StationItem* GetCurrentItem() override { return nullptr; }
    void SetCurrentItem(const KV_StationItem&) override {}
    void Refresh() override {}
    void AddData() override {}
    void SetSelectedbycoor(KV_StationItem*, double, double) override {}
    void SetItemAtrii(KV_StationItem*, const std::vector<SdiffData>&) override {}
    void DeleteItems(KV_StationItem*, const std::vector<SdiffData>&) override {}

    bool isRecording = true;
    bool isTableThere = true;
    QStringList log;

private:
    std::vector<std::unique_ptr<NotedEdit>> m_edits; ///< oldest first
    std::size_t m_undone = 0;                        ///< how many of them, from the newest, are undone
};
