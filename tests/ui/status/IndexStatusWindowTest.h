#pragma once

#include "ui/status/IndexStatusWindow.h"
#include "ui/support/UiProgram.h"

namespace siftwell {

class IndexStatusWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void whetherItIsOpenIsRemembered();
    void aSourceThatIsSelectedFiltersAndItsSwitchIsStored();
    void selectedPagesAreOpenedCopiedAndRemoved();
    void theRowThatTheEyeIsOnStaysWhenPagesCome();

private:
    void open();
    DocumentView& view() { return *m_window->findChild<DocumentView*>(); }
    SourceList& sources() { return *m_window->findChild<SourceList*>(); }
    void press(const QString& action);

    std::unique_ptr<UiProgram> m_program;
    std::unique_ptr<IndexStatusWindow> m_window;
};

}  // namespace siftwell
