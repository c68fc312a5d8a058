#pragma once

#include <QStringList>

#include "ui/status/DocumentLister.h"
#include "ui/status/DocumentModel.h"
#include "ui/support/UiProgram.h"

namespace siftwell {

class DocumentListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void theNewestDocumentsOfAllSourcesStandFirst();
    void documentsAreOrderedByAddressAndBySource();
    void allWordsOfTheFilterAreToBeInTheAddress();
    void whatComesAndGoesIsSeenWhileTheListIsFiltered();
    void aNewerQueryTakesThePlaceOfOneThatIsUnderWay();
    void everyDocumentIsListedOnceWhereThereAreManyPieces();
    void pagesAreCountedByTheirWeeks();

private:
    void ask(DocumentQuery query);
    QStringList addresses();

    std::unique_ptr<UiProgram> m_program;
    std::unique_ptr<DocumentModel> m_model;
    std::unique_ptr<DocumentLister> m_lister;
    int m_lists = 0;
};

}  // namespace siftwell
