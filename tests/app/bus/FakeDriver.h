// FakeDriver: notes what it is asked for, and answers as the test says.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/Driver.h"

namespace siftwell {

class FakeDriver : public Driver {
public:
    Status startScan(ScanScope scope) override {
        return note(scope == ScanScope::Everything ? "scan everything" : "scan local");
    }
    Result<ScanState> scanState() override { return answered(state); }

    Status addToIndex(const Addition& addition) override {
        additions.push_back(addition);
        return answer;
    }
    Status addMissingItems(const std::vector<SearchItem>& searchItems) override {
        items = searchItems;
        return answer;
    }
    Result<std::size_t> removeFromIndex(const std::vector<std::string>& urls) override {
        removed = urls;
        return answered(urls.size());
    }

    Status clearIndex() override { return note("clear"); }
    Status rebuildIndex() override { return note("rebuild"); }
    Status compactIndex() override { return note("compact"); }
    Status dumpURLs(const std::string& path) override { return note("dump URLs to " + path); }
    Status dumpIndex(const std::string& path) override { return note("dump to " + path); }
    Status applyFilters() override { return note("apply filters"); }
    Status eraseFromIndex(const std::vector<std::string>& urls) override {
        removed = urls;
        return answer;
    }
    Result<MaintenanceState> maintenanceState() override { return answered(maintenance); }

    Status setSearchItemValue(const std::string& name, const std::string& key,
                              const PropertyList& value) override {
        values.push_back(value);
        return note("item " + name + "." + key);
    }
    Status deleteSearchItem(const std::string& name) override { return note("delete " + name); }
    Status resetScanDate(const std::string& name) override { return note("reset " + name); }

    Status addURLFilter(const std::string& text) override { return note("filter " + text); }
    Status deleteURLFilter(const std::string& text) override { return note("unfilter " + text); }
    Status resetURLFilters() override { return note("reset filters"); }

    Status setSetting(const std::string& key, const PropertyList& value) override {
        values.push_back(value);
        return note("setting " + key);
    }
    Status removeSetting(const std::string& key) override { return note("no setting " + key); }

    Result<PropertyList::Dictionary> status() override { return answered(statusAnswer); }
    Status searchService(const std::string& text) override { return note("search " + text); }
    Status showWindow() override { return note("show"); }
    Status toggleWindow() override { return note("toggle"); }
    Status quit() override {
        if (onQuit) onQuit();
        return note("quit");
    }

    Status answer;
    ScanState state;
    MaintenanceState maintenance;
    PropertyList::Dictionary statusAnswer;
    std::function<void()> onQuit;

    std::vector<std::string> requests;
    std::vector<Addition> additions;
    std::vector<SearchItem> items;
    std::vector<std::string> removed;
    std::vector<PropertyList> values;

private:
    Status note(std::string request) {
        requests.push_back(std::move(request));
        return answer;
    }
    template <typename T>
    Result<T> answered(const T& value) const {
        if (!answer.isOk()) return answer;
        return value;
    }
};

}  // namespace siftwell
