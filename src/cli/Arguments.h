// Arguments: readers put what was typed in the place where a command finds it, or say what is
// wrong.
//
// Threads: main.
#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Date.h"
#include "base/Translate.h"
#include "cli/DateArgument.h"

namespace siftwell {

// The arguments in the order in which CLI11 wants them. It takes a text in brackets for a list, and
// is handed it behind a mark that unmarked() takes away.
std::vector<std::string> markedArguments(int argc, const char* const* argv);
std::string unmarked(const std::string& argument);

CLI::callback_t textReader(std::vector<std::string>& texts);
CLI::callback_t textReader(std::string& text);
CLI::callback_t textReader(std::optional<std::string>& text);
CLI::callback_t dateReader(Date& date, DayEdge edge);
CLI::callback_t countReader(std::size_t& count);

// One or more texts without an option's name in front of them; or exactly one.
void addTexts(CLI::App& command, const char* name, std::vector<std::string>& texts,
              const std::string& description);
void addText(CLI::App& command, const char* name, std::string& text,
             const std::string& description);

void addJsonFlag(CLI::App& command, bool& isJson);

template <typename Choice>
using Choices = std::vector<std::pair<const char*, Choice>>;

template <typename Choice>
CLI::Option& addChoice(CLI::App& command, const char* option, Choice& choice,
                       const Choices<Choice>& choices, const std::string& description) {
    std::string names;
    for (const auto& [name, value] : choices)
        names += (names.empty() ? "" : "|") + std::string(name);
    const auto reader = [&choice, choices, names](const CLI::results_t& values) {
        const auto chosen = std::find_if(choices.begin(), choices.end(), [&](const auto& each) {
            return each.first == values.front();
        });
        if (chosen == choices.end()) {
            throw CLI::ValidationError(
                filledIn(_("\"%@\" is none of %@."), unmarked(values.front()), names));
        }
        choice = chosen->second;
        return true;
    };
    return *command.add_option(option, reader, description)->type_name(names);
}

}  // namespace siftwell
