#include "cli/Arguments.h"

#include "base/Clock.h"
#include "text/WholeNumber.h"

namespace siftwell {

namespace {

constexpr char kPlainMark = '\x1F';

// The positional argument of that name.
CLI::Option& addPositional(CLI::App& command, const char* name, const CLI::callback_t& reader,
                           const std::string& description) {
    return *command.add_option(name, reader, description)->type_name("")->required();
}

}  // namespace

std::vector<std::string> markedArguments(int argc, const char* const* argv) {
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i) {  // CLI11 wants the last one first
        const std::string_view argument = argv[i];
        const bool isMarked = argument.starts_with('[') || argument.starts_with(kPlainMark);
        arguments.push_back((isMarked ? std::string(1, kPlainMark) : "") + std::string(argument));
    }
    return arguments;
}

std::string unmarked(const std::string& argument) {
    return argument.starts_with(kPlainMark) ? argument.substr(1) : argument;
}

CLI::callback_t textReader(std::vector<std::string>& texts) {
    return [&texts](const CLI::results_t& values) {
        for (const std::string& value : values) texts.push_back(unmarked(value));
        return true;
    };
}

CLI::callback_t textReader(std::string& text) {
    return [&text](const CLI::results_t& values) {
        text = unmarked(values.front());
        return true;
    };
}

CLI::callback_t textReader(std::optional<std::string>& text) {
    return [&text](const CLI::results_t& values) {
        text = unmarked(values.front());
        return true;
    };
}

CLI::callback_t dateReader(Date& date, DayEdge edge) {
    return [&date, edge](const CLI::results_t& values) {
        const auto parsed = dateFromArgument(values.front(), SystemClock().now(), edge);
        if (!parsed) {
            throw CLI::ValidationError(
                filledIn(_("\"%@\" is no date: use YYYY-MM-DD, or 7d, 3w, 2m, 1y back from now."),
                         unmarked(values.front())));
        }
        date = *parsed;
        return true;
    };
}

CLI::callback_t countReader(std::size_t& count) {
    return [&count](const CLI::results_t& values) {
        const std::string& text = values.front();
        const auto number = wholeNumberIn<std::size_t>(text);
        if (!number) {
            throw CLI::ValidationError(
                filledIn(_("\"%@\" is no number: use 20, or 0 for all."), unmarked(text)));
        }
        count = *number;
        return true;
    };
}

void addTexts(CLI::App& command, const char* name, std::vector<std::string>& texts,
              const std::string& description) {
    addPositional(command, name, textReader(texts), description)
        .expected(CLI::detail::expected_max_vector_size);
}

void addText(CLI::App& command, const char* name, std::string& text,
             const std::string& description) {
    addPositional(command, name, textReader(text), description);
}

void addJsonFlag(CLI::App& command, bool& isJson) {
    command.add_flag("--json", isJson, _("One JSON object per line"));
}

}  // namespace siftwell
