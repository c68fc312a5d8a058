#pragma once

#include <QObject>

namespace siftwell {

class WordMarkerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void placesAreCountedAsThePageCountsThem();
    void phraseIsMarkedInEveryTextItStandsIn();
    void numberOfMarksIsLimited();
};

}  // namespace siftwell
