#include "install/tree/change/manifest.hpp"

#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <array>
#include <charconv>

namespace install::tree {

namespace {

using Entry = Manifest::Entry;

constexpr std::string_view format = "kxinstall_tree ";
constexpr std::string_view version = "2\n";
constexpr std::string_view end_mark = "end ";
constexpr std::string_view folder_word = "folder";
constexpr std::array<std::string_view, 3> kind_words = {"created", "replaced", "removed"};

struct Damaged {};

std::string_view take(std::string_view& text, char end) {
    const auto size = text.find(end);
    if (size == std::string_view::npos)
        throw Damaged();
    const std::string_view word = text.substr(0, size);
    text.remove_prefix(size + 1);
    return word;
}

// Whoever can write a manifest must not make another user touch files elsewhere.
void require_safe(std::string_view name) {
    if (name.empty() || name.front() == '.')
        throw Damaged();
    for (std::string_view rest = name; !rest.empty();) {
        const std::string_view part = rest.substr(0, rest.find('/'));
        if (part.empty() || part == "." || part == "..")
            throw Damaged();
        rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    }
}

std::optional<Entry::Content> read_content(std::string_view size, std::string_view digits) {
    if (size == "-")
        return std::nullopt;
    Entry::Content content;
    std::from_chars(size.data(), size.data() + size.size(), content.size);
    const auto digest = digest_in(digits);
    if (!digest)
        throw Damaged();
    content.digest = *digest;
    return content;
}

// A record is a word, a size, a digest and a name, with spaces between and a NUL at the end.
void read_record(std::string_view record, Manifest& manifest) {
    const std::string_view word = take(record, ' ');
    const std::string_view size = take(record, ' ');
    const std::string_view digits = take(record, ' ');
    require_safe(record);
    if (word == folder_word) {
        manifest.folders.emplace_back(record);
        return;
    }
    const auto kind = std::ranges::find(kind_words, word);
    if (kind == kind_words.end())
        throw Damaged();
    manifest.entries.push_back({static_cast<Entry::Kind>(kind - kind_words.begin()),
                                std::string(record), read_content(size, digits)});
}

void append(std::string& text, std::string_view word, const std::optional<Entry::Content>& content,
            const std::string& name) {
    text.append(word).append(" ");
    if (content)
        text.append(std::to_string(content->size)).append(" ").append(hexadecimal(content->digest));
    else
        text.append("- -");
    text.append(" ").append(name).push_back('\0');
}

std::string end_of(std::string_view text) {
    return std::string(end_mark) + hexadecimal(Sha256().add(text).digest()) + '\n';
}

Manifest parse(std::string_view text) {
    const std::size_t end_size = end_mark.size() + 2 * Digest().size() + 1;
    if (text.size() < end_size ||
        end_of(text.substr(0, text.size() - end_size)) != text.substr(text.size() - end_size))
        throw Damaged();
    text.remove_suffix(end_size);
    text.remove_prefix(format.size() + version.size());
    Manifest manifest;
    while (!text.empty())
        read_record(take(text, '\0'), manifest);
    return manifest;
}

} // namespace

std::string Manifest::text() const {
    std::string text;
    text.reserve(128 * (entries.size() + folders.size()));
    text.append(format).append(version);
    for (const std::string& folder : folders)
        append(text, folder_word, std::nullopt, folder);
    for (const Entry& entry : entries)
        append(text, kind_words.at(static_cast<std::size_t>(entry.kind)), entry.content,
               entry.name);
    return text + end_of(text);
}

Manifest Manifest::read(const Directory& journal) {
    const std::string path = journal.path_of(journal_names::manifest);
    const std::string text = journal.read(journal_names::manifest).value_or("");
    const std::string_view line = std::string_view(text).substr(0, text.find('\n') + 1);
    try {
        if (line.starts_with(format) && !line.ends_with(version))
            throw tree_error("read", path, "It is from another version of this library.");
        if (!line.starts_with(format))
            throw Damaged();
        return parse(text);
    } catch (const Damaged&) {
        throw tree_error("read", path,
                         text.empty() ? "The file is missing or empty." : "The file is damaged.");
    }
}

} // namespace install::tree
