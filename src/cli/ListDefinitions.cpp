#include <memory>

#include "cli/Arguments.h"
#include "cli/Definitions.h"

namespace siftwell {

namespace {

// A command that lists, and changes by commands of its own.
template <typename Options>
class ListCommand {
public:
    using Run = ExitStatus (*)(const Options&, const CommandContext&);
    using Action = typename Options::Action;

    ListCommand(CLI::App& program, const char* name, const std::string& description, Run run,
                Command& command)
        : m_app(*program.add_subcommand(name, description)), m_run(run), m_command(command) {
        m_app.require_subcommand(0, 1);
        addJsonFlag(m_app, m_options->isJson);
        // Called after those of the commands below.
        m_app.callback([app = &m_app, options = m_options, run, &command] {
            if (!app->get_subcommands().empty()) return;
            command = [options, run](const CommandContext& context) {
                letSignalsEndTheProgram();
                return run(*options, context);
            };
        });
    }

    Options& options() { return *m_options; }

    CLI::App& add(const char* name, const std::string& description, Action action) {
        CLI::App& app = *m_app.add_subcommand(name, description);
        app.callback([options = m_options, run = m_run, action, command = &m_command] {
            options->action = action;
            *command = [options, run](const CommandContext& context) {
                return run(*options, context);
            };
        });
        return app;
    }

    void finish() {
        for (CLI::App* each : m_app.get_subcommands({})) each->group(_("Commands"));
    }

private:
    CLI::App& m_app;
    const Run m_run;
    Command& m_command;
    const std::shared_ptr<Options> m_options = std::make_shared<Options>();
};

void addSources(CLI::App& program, Command& command) {
    using enum SourcesOptions::Action;
    ListCommand<SourcesOptions> sources(program, "sources",
                                        _("Show and change the sources that pages come from"),
                                        &runSources, command);
    auto& options = sources.options();
    const auto addNamed = [&](const char* name, const std::string& description,
                              SourcesOptions::Action action) {
        addTexts(sources.add(name, description, action), "NAME", options.names,
                 _("Names of sources"));
    };
    CLI::App& discover = sources.add(
        "discover", _("Show which browsers there are on this computer, as sources"), Discover);
    discover.add_flag("--enable", options.isEnabling,
                      _("Put them into the list, and read them at each scan"));
    addJsonFlag(discover, options.isJson);
    addNamed("enable", _("Read them at each scan"), Enable);
    addNamed("disable", _("Read them no more; their pages stay"), Disable);
    addNamed("delete", _("Take them off the list; their pages stay"), Delete);
    addNamed("reset", _("Read all of them again at the next scan"), Reset);
    CLI::App& set = sources.add("set", _("Change something about a source"), Set);
    set.add_option("NAME", textReader(options.names), _("Name of the source"))
        ->type_name("")
        ->required();
    addText(set, "KEY", options.key, _("What is changed: Path, Index, Search, Expire, …"));
    addText(set, "VALUE", options.value, _("The new value"));
    sources.finish();
}

void addFilters(CLI::App& program, Command& command) {
    using enum FiltersOptions::Action;
    ListCommand<FiltersOptions> filters(program, "filters",
                                        _("Show and change what keeps addresses out of the index"),
                                        &runFilters, command);
    auto& options = filters.options();
    addText(filters.add("add", _("Leave out addresses that contain the text"), Add), "TEXT",
            options.text, _("A part of addresses"));
    addText(filters.add("delete", _("Take a filter off the list"), Delete), "TEXT", options.text,
            _("The text of the filter"));
    filters.add("reset", _("Take the filters that Siftwell came with"), Reset)
        .add_flag("--yes", options.isConfirmed, _("Do not ask"));
    filters.add("apply", _("Take out of the index what the filters keep out by now"), Apply);
    filters.finish();
}

void addDefaults(CLI::App& program, Command& command) {
    using enum DefaultsOptions::Action;
    ListCommand<DefaultsOptions> defaults(program, "defaults", _("Show and change the settings"),
                                          &runDefaults, command);
    auto& options = defaults.options();
    CLI::App& read = defaults.add("read", _("Show one setting, or all"), Read);
    read.add_option("KEY", textReader(options.key), _("Name of a setting"))->type_name("");
    addJsonFlag(read, options.isJson);
    CLI::App& write = defaults.add("write", _("Change a setting"), Write);
    const auto addKey = [&options](CLI::App& app) {
        app.add_option("KEY", textReader(options.key), _("Name of a setting"))
            ->type_name("")
            ->required();
    };
    addKey(write);
    addText(write, "VALUE", options.value, _("The new value"));
    addKey(defaults.add("delete", _("Let a setting have its default again"), Delete));
    defaults.finish();
}

}  // namespace

void addListCommands(CLI::App& program, Command& command) {
    addSources(program, command);
    addFilters(program, command);
    addDefaults(program, command);
}

}  // namespace siftwell
