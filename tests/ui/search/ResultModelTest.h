#pragma once

#include <QAbstractItemModelTester>
#include <QtTest>

#include "ui/search/ResultView.h"

namespace siftwell {

class ResultModelTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void batchesAreSortedInByTheSortThatHolds();
    void textsThatBeginAlikeAreSortedAsTheyAreCompared();
    void selectionAndPlaceStayWhileBatchesArrive();
    void aBoundedListKeepsTheBest();
    void longListsArriveInShortTurns();
};

}  // namespace siftwell
