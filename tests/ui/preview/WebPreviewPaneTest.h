// The preview with the real engine, in front of a real program and a web server on this computer.
#pragma once

#include <QSignalSpy>
#include <memory>

#include "sources/WebArchiveBytes.h"
#include "support/HttpSite.h"
#include "ui/preview/WebPreviewPane.h"
#include "ui/support/UiProgram.h"

namespace siftwell {

class WebPreviewPaneTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void engineIsNotStartedBeforeAPageIsShown();
    void copyAsksNobodyAndRunsNothing();
    void picturesOfTheWebAreLoadedWherePreviewsShowThem();
    void filesOfThisComputerAskNobodyForPictures();
    void savedPageHasItsPicturesStylesAndFrames();
    void noPageReachesAFile();
    void scriptsRunWhenTheSettingSaysSo();
    void wordsAreMarkedAndTheFirstIsInSight();
    void pageIsSearchedBothWaysAndRoundItsEnds();
    void feedsBecomePages();
    void pageWithoutCopyIsLoaded();
    void pageThatIsShownStays();
    void pageThatCannotBeLoadedSaysWhy();
    void laterRowTakesThePlaceOfAnEarlierOne();
    void largePageIsShownWhole();
    void linksOpenInTheBrowserAndPlacesInThePage();
    void aClickLeadsToOnePageAndAKeyToNone();
    void blankPaneHasNoPage();

private:
    struct Part {
        std::string url;
        std::string type;
        std::string bytes;
    };

    // A row whose copy is a page that was saved so.
    ResultRow saved(const Part& page, const PropertyList::Array& parts = {},
                    const PropertyList::Array& frames = {});
    ResultRow savedPage(const std::string& body) {
        return saved({m_site->address("/page"), "text/html", body});
    }
    static PropertyList resource(const Part& part);
    ResultRow live(const std::string& path);

    // Waits until it is there.
    void show(const ResultRow& row, const std::string& query = "");
    QVariant script(const char* code);
    bool isMessage(const QString& reason);
    QString countOfFindBar();
    void click(const char* element);

    std::unique_ptr<HttpSite> m_site;
    std::unique_ptr<UiProgram> m_program;
    std::unique_ptr<WebPreviewPane> m_pane;
    std::unique_ptr<QSignalSpy> m_settled;
    int m_pages = 0;
};

}  // namespace siftwell
