// SourceDetails: the values of the sources that are selected; with several of them, those that can
// be the same for all.
//
// Threads: main.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <functional>
#include <vector>

#include "ui/preferences/SourceListModel.h"

namespace siftwell {

class SourceDetails : public QWidget {
    Q_OBJECT

public:
    // Outlives the details.
    explicit SourceDetails(SourceListModel& model);

    void showItems(const std::vector<EditedItem*>& items);
    // Puts the keyboard into the name, to be overwritten.
    void editName();

private:
    QWidget* makePath();
    QCheckBox* makeSwitch(const QString& text, bool SearchItem::*value);
    void loadKind(const std::string& indexer, const std::string& name);
    void loadScan();
    void browse(bool isFolder);
    void edit(const std::function<void(SearchItem& item)>& change);

    SourceListModel& m_model;
    std::vector<EditedItem*> m_items;
    QLineEdit* m_name;
    QLineEdit* m_path;
    QPushButton* m_browse;
    QComboBox* m_kind;
    std::vector<std::pair<QCheckBox*, bool SearchItem::*>> m_switches;
    QLabel* m_lastScan;
    QLabel* m_result;
    QPushButton* m_reset;
};

}  // namespace siftwell
