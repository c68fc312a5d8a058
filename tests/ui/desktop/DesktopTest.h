#pragma once

#include <QObject>

namespace siftwell {

class DesktopTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyCodeHasOneKeyAndBack();
    void aKeyIsNamedByItsPlaceWhereItTypesSomethingElse();
    void theEntryAtLoginIsWrittenForThisProgramAndRemoved();
    void theHotKeyFollowsTheSettings();
    void theMenuOfThePanelLeadsEverywhere();
};

}  // namespace siftwell
