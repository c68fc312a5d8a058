#include "app/IndexerList.h"

#include "base/Translate.h"

namespace siftwell {

std::vector<IndexerChoice> indexerList() {
    return {{_("Camino Bookmarks"), "CaminoBookmarks"},
            {_("Camino History"), "URLExtractor"},
            {_("Firefox 2 Bookmarks"), "URLExtractor"},
            {_("Firefox 2 History"), "URLExtractor"},
            {_("Firefox Bookmarks"), "FirefoxBookmarks"},
            {_("Firefox History"), "FirefoxHistory"},
            {_("Flock Bookmarks"), "FlockBookmarks"},
            {_("Flock History"), "URLExtractor"},
            {_("RockMelt History"), "ChromeHistory"},
            {_("Google Chrome History"), "ChromeHistory"},
            {_("Internet Explorer History"), "InternetExplorer"},
            {_("Internet Explorer Favorites"), "InternetExplorer"},
            {_("OmniWeb History"), "OmniWebHistory"},
            {_("OmniWeb Bookmarks"), "URLExtractor"},
            {_("Opera History"), "Opera"},
            {_("Opera Bookmarks"), "Opera"},
            {_("Safari Cache"), "SafariCache"},
            {_("Safari History"), "SafariHistory"},
            {_("Safari Bookmarks"), "SafariBookmarks"},
            {_("Shiira Bookmarks"), "ShiiraBookmarks"},
            {_("URL Manager Pro Bookmarks (html)"), "URLExtractor"},
            {_("Extract URLs From File"), "URLExtractor"},
            {_("Extract URLs from old Index"), "IndexSalvager"},
            {_("Index Files in Folder"), "LocalFiles"},
            {_("Index Single File or URL"), "SingleURL"},
            {_("Firefox Cache"), "FirefoxCache"},
            {_("Google Chrome Cache"), "ChromeCache"},
            {_("GNOME Web History"), "EpiphanyHistory"},
            {_("Falkon History"), "FalkonHistory"},
            {_("qutebrowser History"), "QutebrowserHistory"}};
}

}  // namespace siftwell
