// SourceList: the sources with what each has in the index, and a switch for those that are scanned.
//
// Threads: main.
#pragma once

#include <QTreeWidget>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "index/IndexSizes.h"
#include "records/SearchItem.h"

namespace siftwell {

class SourceList : public QTreeWidget {
    Q_OBJECT

public:
    explicit SourceList(QWidget* parent = nullptr);

    // Those of the list in its order, then what else is in the index. What is selected stays.
    void setSources(const std::vector<SearchItem>& items, const std::vector<IndexSize>& sizes);

    std::optional<std::string> selectedSource() const;  // none for all of them

Q_SIGNALS:
    void sourceSelected();
    void switched(const QString& source, bool isOn);

private:
    QTreeWidgetItem* lineOf(const QString& source);
    static void fill(QTreeWidgetItem& line, const IndexSize& size);
    void noteSwitch(const QTreeWidgetItem& line);

    std::vector<SearchItem> m_items;  // that are shown
    std::vector<IndexSize> m_sizes;
    bool m_isFilling = false;
};

}  // namespace siftwell
