// The window of the index's status before many documents.
//
//   bench_status [--documents N]
//
// A million documents unless told, of a few words each, over the two schemes of fifteen sources.
// For each thing that a user does: the time until the first rows, until all of them, and the
// longest turn of the main loop.

#include <QApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QScrollBar>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <thread>

#include "ui/status/IndexStatusWindow.h"
#include "ui/support/UiProgram.h"

namespace siftwell {
namespace {

using SteadyClock = std::chrono::steady_clock;

double millisecondsSince(SteadyClock::time_point start) {
    return std::chrono::duration<double, std::milli>(SteadyClock::now() - start).count();
}

double processorMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
}

double memory() {
    long pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*d %ld", &pages) != 1) pages = 0;
        std::fclose(file);
    }
    return static_cast<double>(pages) * 4096 / (1 << 20);
}

class StatusBench {
public:
    explicit StatusBench(std::size_t documents) : m_documents(documents) {}

    void run() {
        build();
        std::printf("%-28s %10s %10s %10s %10s\n", "milliseconds", "first", "all", "turn",
                    "of work");
        IndexStatusWindow window(m_program.program());
        auto& view = *window.findChild<DocumentView*>();
        auto& filter = *window.findChild<QLineEdit*>();
        std::printf("memory %.0f MiB\n", memory());
        measure("open", view, [&] { window.show(); });
        std::printf("memory %.0f MiB\n", memory());
        measure("filter: all match", view, [&] { filter.setText(QStringLiteral("example")); });
        measure("filter: a tenth", view, [&] { filter.setText(QStringLiteral("/7")); });
        measure("filter: one", view, [&] { filter.setText(QStringLiteral("/999/page")); });
        measure("filter: none", view, [&] { filter.setText(QStringLiteral("nowhere")); });
        measure("filter typed in a row", view, [&] {
            for (const char* text : {"e", "ex", "exa", "exam", "examp", "/4242/"}) {
                filter.setText(QString::fromLatin1(text));
                turnFor(30);
            }
        });
        measure("no filter", view, [&] { filter.clear(); });
        measure("by address", view, [&] { sort(view, DocumentModel::AddressColumn); });
        std::printf("memory %.0f MiB\n", memory());
        measure("by source", view, [&] { sort(view, DocumentModel::SourceColumn); });
        measure("by date", view, [&] { sort(view, DocumentModel::DateColumn); });
        measure("scroll", view, [&] {
            for (int i = 1; i <= 200; ++i) {
                view.verticalScrollBar()->setValue(view.model()->rowCount() / 200 * i);
                turnFor(5);
            }
        });
        measure("a page comes", view, [&] {
            m_program.addPage("https://new.example/", "New", "words");
            turnFor(1000);
        });
        measure("select all", view, [&] { view.selectAll(); });
        measure("close", view, [&] { window.close(); });
        std::printf("memory %.0f MiB\n", memory());
    }

private:
    void build() {
        const auto start = SteadyClock::now();
        auto& indexes = m_program.session().indexes();
        for (std::size_t i = 0; i < m_documents; ++i) {
            const std::string text = "word" + std::to_string(i % 5000) + " other words here";
            indexes.addDataToIndex(
                {.content = text,
                 .readable = text,
                 .url = Url::parse((i % 2 == 0 ? "http" : "https") + std::string("://www.example") +
                                   std::to_string(i % 997) + ".org/section/" + std::to_string(i) +
                                   "/page.html")
                            .value(),
                 .source = "Source " + std::to_string(i * 15 / m_documents),
                 .indexer = "Bench",
                 .date =
                     Date::fromReference(8e8 - static_cast<double>(i * 7919 % m_documents) * 60),
                 .title = text,
                 .cachePath = std::nullopt});
            if (i % 1000 == 0) QCoreApplication::processEvents();
        }
        indexes.flush();
        turnFor(2000);
        std::printf("%zu documents: %.1f s\n", m_documents, millisecondsSince(start) / 1000);
    }

    static void sort(DocumentView& view, int column) {
        view.horizontalHeader()->setSortIndicator(column, Qt::DescendingOrder);
    }

    void turn() {
        const auto start = SteadyClock::now();
        const double work = processorMilliseconds();
        QCoreApplication::processEvents();
        note(start, work);
        ++m_turns;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    void note(SteadyClock::time_point start, double work) {
        m_longest = std::max(m_longest, millisecondsSince(start));
        m_longestWork = std::max(m_longestWork, processorMilliseconds() - work);
    }
    void turnFor(int milliseconds) {
        const auto start = SteadyClock::now();
        while (millisecondsSince(start) < milliseconds) turn();
    }

    void measure(const char* what, DocumentView& view, const std::function<void()>& action) {
        const auto before = &view.documents().list();
        const auto start = SteadyClock::now();
        m_longest = m_longestWork = 0;
        m_turns = 0;
        const double work = processorMilliseconds();
        action();
        if (m_turns == 0) note(start, work);
        double first = 0;
        double all = 0;
        while (all == 0 && view.isVisible() && millisecondsSince(start) < 60'000) {
            turn();
            const DocumentList& list = view.documents().list();
            if (&list == before) {
                if (millisecondsSince(start) > 3000) break;
                continue;
            }
            if (first == 0 && (!list.rows.empty() || list.isComplete))
                first = millisecondsSince(start);
            if (list.isComplete) all = millisecondsSince(start);
        }
        turnFor(300);
        std::printf("%-28s %10.1f %10.1f %10.1f %10.1f   %zu rows\n", what, first, all, m_longest,
                    m_longestWork, view.documents().list().rows.size());
        std::fflush(stdout);
    }

    const std::size_t m_documents;
    double m_longest = 0;      // milliseconds
    double m_longestWork = 0;  // without what others had of the processor
    int m_turns = 0;
    UiProgram m_program;
};

}  // namespace
}  // namespace siftwell

int main(int argc, char** argv) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    QApplication application(argc, argv);
    const bool isTold = argc == 3 && std::string(argv[1]) == "--documents";
    siftwell::StatusBench(isTold ? std::strtoul(argv[2], nullptr, 10) : 1'000'000).run();
}
