// ProgramFixture: the real program, run in a home of its own.
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "app/DefaultSearchItems.h"
#include "base/RunLoop.h"
#include "base/Settings.h"
#include "support/TemporaryFolder.h"

namespace siftwell {

class ProgramFixture : public testing::Test {
protected:
    using Arguments = std::vector<std::string>;

    struct Outcome {
        int status = -1;  // what the program ended with; 1000 and more: the signal that ended it
        std::string out;
        std::string err;
    };

    Outcome siftwell(const Arguments& arguments) {
        const int status = wait(start(arguments, m_home.file("out"), m_home.file("err")));
        return {status, m_home.read("out"), m_home.read("err")};
    }

    // Adds folders, and the contents of files, below the home.
    Outcome add(const std::vector<std::string>& names) {
        Arguments arguments = {"add", "--contents"};
        for (const std::string& name : names) arguments.push_back(m_home.file(name));
        return siftwell(arguments);
    }

    // The addresses that a search of that type, by its number, finds.
    std::set<std::string> find(const std::string& words, int type) {
        static constexpr const char* kTypes[] = {"all", "fragments", "any", "any-fragments", "raw"};
        std::set<std::string> urls;
        for (const auto& row : found({"--limit", "0", "--type", kTypes[type], words})) {
            urls.insert(row["url"]);
        }
        return urls;
    }

    // Runs on beside the test.
    pid_t startSiftwell(const Arguments& arguments) {
        return start(arguments, m_home.file("out.started"), m_home.file("err.started"));
    }

    pid_t start(const Arguments& arguments, const std::string& out, const std::string& err) {
        switchBuiltInSourcesOff();
        std::vector<char*> words = {const_cast<char*>("siftwell")};
        for (const std::string& each : arguments) words.push_back(const_cast<char*>(each.data()));
        words.push_back(nullptr);
        const pid_t process = fork();
        if (process != 0) return process;
        for (const auto& [name, value] : m_variables) setenv(name.c_str(), value.c_str(), 1);
        constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_NOCTTY;
        dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        dup2(open(out.c_str(), kFlags | O_CLOEXEC, 0600), STDOUT_FILENO);
        dup2(open(err.c_str(), kFlags | O_CLOEXEC, 0600), STDERR_FILENO);
        if (m_inChild) m_inChild();
        execv(SIFTWELL_PROGRAM, words.data());
        _exit(127);
    }

    static int wait(pid_t process) {
        int status = 0;
        EXPECT_EQ(waitpid(process, &status, 0), process);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }

    static bool hasEnded(pid_t process) {
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT);
        return info.si_pid == process;
    }

    // As the user chose it; false when there are no settings that can be changed.
    bool setSetting(const std::string& key, PropertyList value) {
        const auto loop = makeHeadlessRunLoop();
        auto settings = Settings::open(m_home.file("config/siftwell/com.velotrin.Siftwell.plist"),
                                       Settings::Access::ReadWrite, *loop);
        if (!settings) return false;
        (*settings)->set(key, std::move(value));
        return (*settings)->save().isOk();
    }

    // Each scan would find their pages, above all those of the help, beside what is looked for.
    void switchBuiltInSourcesOff() {
        if (m_areBuiltInSourcesOff || m_isFresh) return;
        std::vector<SearchItem> items = defaultSearchItems();
        for (SearchItem& item : items) item.Index = false;
        m_areBuiltInSourcesOff = setSetting("SearchItems", listOf(items));
    }

    // Until the index has grown by so many bytes, or the process has ended.
    void waitForGrowth(pid_t process, std::uintmax_t bytes) {
        const std::uintmax_t start = sizeOfIndex();
        while (sizeOfIndex() < start + bytes && !hasEnded(process)) std::this_thread::yield();
    }

    std::uintmax_t sizeOfIndex() {
        std::error_code error;
        const std::uintmax_t size = std::filesystem::file_size(indexFile("many.file"), error);
        return error ? 0 : size;
    }

    // A page below the home, by its title and words; its path.
    std::string page(const std::string& name, const std::string& title, const std::string& words) {
        return m_home.write(name, "<html><head><title>" + title + "</title></head><body>" + words +
                                      "</body></html>");
    }

    // A folder of pages "p0.html", … that all hold "apple", and each its own "number0x".
    // Long pages keep the program busy for a while.
    std::string manyPages(int count, int wordsOfEach = 10) {
        for (int i = 0; i < count; ++i) oneOfMany(i, wordsOfEach, "");
        return m_home.file("many");
    }
    void oneOfMany(int i, int wordsOfEach, const std::string& addition) {
        const std::string number = std::to_string(i);
        std::string words = "apple number" + number + "x " + addition;
        for (int word = 0; word < wordsOfEach; ++word) {
            words += " word" + std::to_string(i * word % 5003) +
                     std::string(static_cast<std::size_t>(word % 7), 'w');
        }
        page("many/p" + number + ".html", "Page " + number, words);
    }

    using Lines = std::vector<nlohmann::json>;

    // Every line of what --json prints; fails on a line that is no JSON.
    static Lines linesOf(const Outcome& outcome) {
        Lines lines;
        std::istringstream text(outcome.out);
        for (std::string line; std::getline(text, line);) {
            lines.push_back(nlohmann::json::parse(line, nullptr, false));
            EXPECT_FALSE(lines.back().is_discarded()) << line;
        }
        return lines;
    }

    Lines found(Arguments arguments) {
        arguments.insert(arguments.begin(), {"search", "--json"});
        return linesOf(siftwell(arguments));
    }

    std::vector<std::string> titles(const Arguments& arguments) {
        std::vector<std::string> result;
        for (const auto& line : found(arguments)) result.push_back(line["title"]);
        return result;
    }

    // All pages that hold "apple", by their addresses.
    std::multiset<std::string> indexed() {
        const Outcome outcome = siftwell({"search", "--json", "--limit", "0", "apple"});
        EXPECT_THAT(outcome.status, testing::AnyOf(0, 1)) << outcome.err;
        if (outcome.status == 0) EXPECT_EQ(outcome.err, "");
        std::multiset<std::string> addresses;
        for (const auto& line : linesOf(outcome)) addresses.insert(line["url"]);
        return addresses;
    }

    void expectFailure(const Arguments& arguments, int status, const std::string& message) {
        const Outcome outcome = siftwell(arguments);
        EXPECT_EQ(outcome.status, status) << arguments.front() << ": " << outcome.err;
        EXPECT_THAT(outcome.err, testing::HasSubstr(message));
    }

    void expectSuccess(const Arguments& arguments) {
        const Outcome outcome = siftwell(arguments);
        EXPECT_EQ(outcome.status, 0) << arguments[0] << ": " << outcome.err;
    }

    // The only source of that name.
    nlohmann::json source(const std::string& name) {
        Lines named;
        for (const auto& line : linesOf(siftwell({"sources", "--json"}))) {
            if (line["source"] == name) named.push_back(line);
        }
        if (named.size() == 1) return named[0];
        return nullptr;
    }
    nlohmann::json setting(const std::string& key) {
        const Lines lines = linesOf(siftwell({"defaults", "read", key, "--json"}));
        return lines.size() == 1 ? lines[0] : nlohmann::json();
    }

    void expectInOrder() {
        const Outcome check = siftwell({"check"});
        EXPECT_EQ(check.status, 0) << check.out << check.err;
    }

    std::string indexFile(const std::string& name) const {
        return m_home.file("data/Siftwell/" + name);
    }

    bool m_isFresh = false;  // nothing is written before the program does
    bool m_areBuiltInSourcesOff = false;
    TemporaryFolder m_home;
    std::function<void()> m_inChild;  // called by a process that is about to become siftwell
    std::map<std::string, std::string> m_variables = {{"HOME", m_home.path()},
                                                      {"XDG_CONFIG_HOME", m_home.file("config")},
                                                      {"XDG_DATA_HOME", m_home.file("data")},
                                                      {"XDG_STATE_HOME", m_home.file("state")},
                                                      {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/"},
                                                      {"DISPLAY", ""},
                                                      {"WAYLAND_DISPLAY", ""},
                                                      {"LC_ALL", "C.UTF-8"},
                                                      {"LANGUAGE", "en"},
                                                      {"TZ", "UTC"}};
};

}  // namespace siftwell
