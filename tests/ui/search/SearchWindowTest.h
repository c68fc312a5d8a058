#pragma once

#include "SearchFixture.h"

namespace siftwell {

class SearchWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_f = std::make_unique<SearchFixture>(); }
    void cleanup() { m_f.reset(); }

    void wordsFindPagesAndTheEndClearsTheStatus();
    void aNewSearchTakesThePlaceOfTheOldOne();
    void typingSearchesWhenItRests();
    void aDoubleClickOpensThePageAndPreviewsNothing();
    void theSelectedRowIsPreviewedAfterARest();
    void withThePreviewShutAClickOpensThePage();
    void anAddressThatNothingOpensIsTold();
    void removingAPageTakesItsRowEvenWhenTheIndexHasItNoMore();
    void keysLeadFromTheFieldToTheRowsAndBack();
    void escapeClearsTheFieldThenClosesTheWindow();
    void menusChangeWhatIsFound();
    void emptyPagesSayWhy();
    void nowhereToLookFindsNothingAndSaysSo();
    void textOfOtherProgramsIsSearchedFor();
    void aFilterIsProposedAndThePagesAreHeldAgainstIt();
    void whatIsDroppedIsAdded();
    void theLookIsRemembered();
    void noKeyStandsForTwoThings();
    void progressAndErrorsAreTold();

private:
    std::unique_ptr<SearchFixture> m_f;
};

}  // namespace siftwell
