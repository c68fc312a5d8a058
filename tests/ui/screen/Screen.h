// Screen: an X server of the test's own with a window manager, and a person in front of it.
//
// Threads: the test's.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/TestBus.h"
#include "support/WaitUntil.h"

namespace siftwell {

class Screen {
public:
    // A server that is reset when its last client goes would take along one that just comes.
    explicit Screen(const std::string& size = "1280x960x24")
        : m_server(
              {"Xvfb", "-displayfd", "1", "-screen", "0", size, "-nolisten", "tcp", "-noreset"}),
          m_name(":" + m_server.line()),
          m_windowManager({"env", "DISPLAY=" + m_name, "openbox"}) {
        // A window that comes before its manager is not given the keyboard.
        waitUntil([this] { return std::atoi(output("xdotool get_num_desktops").c_str()) > 0; });
    }

    static bool canBeHad() {
        return std::system("command -v Xvfb openbox xdotool import >/dev/null") == 0;
    }

    const std::string& name() const { return m_name; }

    // ---- What the person does

    void press(const std::string& keys) const { xdotool("key --clearmodifiers " + keys); }
    void type(const std::string& text) const { xdotool("type --delay 15 -- '" + text + "'"); }
    void click(int x, int y, int times = 1) const {
        xdotool("mousemove " + std::to_string(x) + " " + std::to_string(y) + " click --repeat " +
                std::to_string(times) + " --delay 40 1");
    }

    // ---- What the person sees

    bool hasWindow(const std::string& title) const {
        return !output("xdotool search --onlyvisible --name '" + title + "'").empty();
    }
    std::string activeWindow() const { return output("xdotool getactivewindow getwindowname"); }
    void waitForWindow(const std::string& title) const {
        waitUntil([&] { return activeWindow().find(title) != std::string::npos; });
    }
    void waitForNoWindow(const std::string& title) const {
        waitUntil([&] { return !hasWindow(title); });
    }

    // Until nothing changes any more but a blinking cursor.
    void waitForQuiet() const {
        std::deque<std::string> looks;
        waitUntil([&] {
            rest(250);
            const std::string now = output("import -window root png:- | md5sum");
            const bool isKnown = std::count(looks.begin(), looks.end(), now) > 0;
            looks.push_back(now);
            if (looks.size() > 4) looks.pop_front();
            return isKnown && std::set(looks.begin(), looks.end()).size() <= 2 && looks.size() == 4;
        });
    }
    static void rest(int milliseconds) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }

    // Of the window in front. Kept only where pictures are wanted: in the folder that the
    // environment names.
    void keepPicture(const std::string& name) const {
        const char* folder = std::getenv("SIFTWELL_PICTURES");
        if (folder == nullptr) return;
        run("import -window $(DISPLAY=" + m_name + " xdotool getactivewindow) '" +
            std::string(folder) + "/" + name + ".png'");
    }

private:
    void xdotool(const std::string& arguments) const { EXPECT_EQ(run("xdotool " + arguments), 0); }
    int run(const std::string& command) const {
        return std::system(("DISPLAY=" + m_name + " timeout 20 " + command).c_str());
    }
    std::string output(const std::string& command) const {
        const std::string line = "DISPLAY=" + m_name + " timeout 20 " + command + " 2>/dev/null";
        std::string text;
        FILE* pipe = popen(line.c_str(), "r");
        char buffer[512];
        while (pipe != nullptr && std::fgets(buffer, sizeof buffer, pipe) != nullptr)
            text += buffer;
        if (pipe != nullptr) pclose(pipe);
        return text;
    }

    Daemon m_server;
    const std::string m_name;
    Daemon m_windowManager;
};

}  // namespace siftwell
