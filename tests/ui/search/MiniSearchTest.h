#pragma once

#include "SearchFixture.h"

namespace siftwell {

class MiniSearchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_f = std::make_unique<SearchFixture>();
        m_f->pages(15);
        m_f->open();
        m_f->windows().toggleMini();
    }
    void cleanup() { m_f.reset(); }

    void itsFieldCountsWhileItIsVisible();
    void keysChooseAndOpenAPage();
    void aClickHidesTheListAndOpensThePage();

private:
    bool type(const QString& text);
    MiniSearchWindow& mini() { return *m_f->windows().miniWindow(); }

    std::unique_ptr<SearchFixture> m_f;
};

}  // namespace siftwell
