// Installs products in the place of their other versions, as one change that a person agrees to:
//
//     upgrade ROOT VERSION PLATFORM PRODUCT...
//
// Ctrl-C cancels it until the change is made. Exit status: 0 done, 1 nothing was changed, 3 done or
// half done, as the message says, 130 cancelled.

#include <fl/i18n/text_conversion.hpp>
#include <install/tree/install_tree.hpp>
#include <install/tree/printable_text.hpp>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <utility>

#include <unistd.h>

using fl::i18n::ustring_to_utf8;
using fl::i18n::utf8_to_ustring;
using namespace install::tree;

namespace {

volatile std::sig_atomic_t is_cancelled = 0;
struct Cancelled {}; // no std::exception: nobody is to take it for a failure

void require_not_cancelled() {
    if (is_cancelled != 0)
        throw Cancelled();
}

const bool on_terminal = isatty(STDERR_FILENO) == 1;
const char* const start_of_line = on_terminal ? "\r\033[K" : "";

void show(const Progress& progress) {
    require_not_cancelled();
    if (!on_terminal)
        return;
    constexpr const char* phases[] = {"Preparing", "Saving", "Installing", "Cleaning up"};
    const auto full = 30 * progress.done / std::max<std::size_t>(progress.total, 1);
    std::cerr << start_of_line << '[' << std::string(full, '#') << std::string(30 - full, ' ')
              << "] " << phases[static_cast<std::size_t>(progress.phase)] << std::flush;
}

auto waiting_line() {
    return [last = std::int64_t(a_reader - 1)](std::int64_t process) mutable {
        require_not_cancelled();
        if (std::exchange(last, process) != process) // it is called again and again
            std::cerr << "waiting for " << describe_process(process) << std::endl;
    };
}

ProductSelection selection(const std::string& name, const std::string& version,
                           const std::string& platform) {
    if (name != "Editor" && name != "Viewer")
        throw std::invalid_argument("there is no product " + name + ", but Editor and Viewer");
    install::datamodels::transitive_closure::Product model;
    model->basecode = model->name = utf8_to_ustring(name);
    model->version = utf8_to_ustring(version);
    for (const char16_t* const tag : {u"linux", u"windows"})
        model->platformXmls.emplace_back(tag, u"<product/>");
    model->localeXmls.emplace_back(u"en", u"<product xml:lang=\"en\"/>");
    return {std::make_shared<const install::product_impl::ProductImpl>(model), {platform}, "en"};
}

// The tree is locked while the question is open, so that what was shown is what is done.
void run(const std::string& root, Change change) {
    InstallTree tree(utf8_to_ustring(root),
                     {.on_wait = waiting_line(),
                      .on_progress = show,
                      .wait_at_most = std::chrono::seconds(3),
                      .missing_documents = MissingDocuments::refuse}); // a misspelt platform
    if (std::filesystem::exists(std::filesystem::path(root) / "appdata"))
        for (const Receipt& receipt : tree.list().receipts)
            for (const auto& [product, platforms, locale] : change.write)
                if (receipt.name == ustring_to_utf8(product->getName()) &&
                    receipt.version != ustring_to_utf8(product->getVersion()))
                    change.remove.push_back({receipt.key, {}});
    PreparedChange prepared = tree.prepare(change);
    std::cerr << start_of_line;
    for (const ChangeStep& step : prepared.steps())
        if (step.is_document)
            std::cout << name_of(step.kind) << ' ' << printable_text(step.path) << '\n';
    std::cout << "Go on? [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer); // which Ctrl-C ends, too
    if (answer != "y")
        throw Cancelled();
    prepared.commit();
    std::cerr << start_of_line;
    std::cout << "done\n";
}

} // namespace

int main(int argc, char** argv) try {
    Change change;
    for (int index = 4; index < argc; ++index)
        change.write.push_back(selection(argv[index], argv[2], argv[3]));
    if (argc < 5)
        throw std::invalid_argument("usage: upgrade ROOT VERSION PLATFORM PRODUCT...");
    struct sigaction cancel = {}; // without SA_RESTART
    cancel.sa_handler = [](int) { is_cancelled = 1; };
    sigaction(SIGINT, &cancel, nullptr);
    run(argv[1], std::move(change));
} catch (const Cancelled&) {
    std::cerr << start_of_line << "cancelled: nothing was changed\n";
    return 130;
} catch (const tree_error& error) {
    constexpr const char* outcomes[] = {"unchanged", "committed", "interrupted"};
    const auto outcome = static_cast<std::size_t>(error.outcome());
    std::cerr << start_of_line << error.what() << "\nthe tree: " << outcomes[outcome] << '\n';
    return outcome == 0 ? 1 : 3;
} catch (const std::exception& error) { // nearly always that of an argument
    std::cerr << error.what() << '\n';
    return 1;
}
