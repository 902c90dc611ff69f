#include "support/durable_disk.hpp"

#include <cerrno>
#include <random>
#include <stdexcept>

#include <sys/stat.h>

namespace test {

namespace {

namespace fs = std::filesystem;
using Disk = DurableDisk::Disk;
using Operation = DurableDisk::Operation;

void apply(const Operation& operation, Disk& disk) {
    for (const auto& [name, number] : operation.names)
        if (number)
            disk.names.insert_or_assign(name, *number);
        else
            disk.names.erase(name);
    if (operation.text)
        disk.texts.insert_or_assign(operation.text->first, operation.text->second);
}

fs::path path_of(int descriptor) {
    return fs::path("/proc/self/fd") / std::to_string(descriptor);
}

std::string text_of(const fs::path& path) {
    return (std::ostringstream() << std::ifstream(path).rdbuf()).str();
}

} // namespace

DurableDisk::DurableDisk(const TemporaryDirectory& tree) {
    add_tree(tree.path(), add_file(tree.path()));
}

void DurableDisk::add_tree(const fs::path& directory, int number) {
    for (const auto& entry : fs::directory_iterator(directory)) {
        struct stat found {};
        stat(entry.path().c_str(), &found);
        const bool is_new = !numbers_.contains(found.st_ino);
        const int child = is_new ? add_file(entry.path()) : numbers_[found.st_ino];
        now_.durable.names[{number, entry.path().filename()}] = child;
        if (entry.is_directory())
            add_tree(entry.path(), child);
        else
            now_.durable.texts[child] = text_of(entry.path());
    }
}

int DurableDisk::number_of(const fs::path& path) {
    struct stat found {};
    if (stat(path.c_str(), &found) != 0)
        throw std::runtime_error("no file " + path.string());
    return numbers_.at(found.st_ino);
}

// The number of an inode may be that of a former file.
int DurableDisk::add_file(const fs::path& path) {
    struct stat found {};
    stat(path.c_str(), &found);
    return numbers_[found.st_ino] = next_number_++;
}

void DurableDisk::after(const DiskCall& call, int result) {
    const std::string& function = call.function;
    const fs::path file =
        call.name != nullptr ? call.name : fs::read_symlink(path_of(call.descriptor));
    if (file.filename() == ".lock")
        return;
    if (function == "fsync")
        return flush(number_of(path_of(call.descriptor)));
    if (function == "syncfs")
        return flush(-1);
    if (function == "fchmod")
        return;
    Operation operation;
    if (function == "write") {
        const int number = number_of(path_of(call.descriptor));
        operation.text = {number, text_of(path_of(call.descriptor))};
        now_.pending.push_back(operation);
        return;
    }
    const fs::path folder =
        function == "mkdir" ? fs::path(call.name).parent_path() : path_of(call.descriptor);
    const std::pair<int, std::string> name = {number_of(folder), fs::path(call.name).filename()};
    if (function == "unlinkat")
        operation.names = {{name, std::nullopt}};
    else if (function == "linkat")
        operation.names = {{name, number_of(folder / call.name)}};
    else if (function == "renameat")
        operation.names = {{name, number_of(folder / call.name)}};
    else
        operation.names = {
            {name, add_file(function == "openat" ? path_of(result) : folder / name.second)}};
    if (function == "openat") // it has no bytes until some are written and flushed
        now_.durable.texts[operation.names[0].second.value()];
    if (function == "renameat") {
        const std::pair<int, std::string> old = {number_of(path_of(call.from)), call.from_name};
        if (old.first == name.first) {
            operation.names.emplace_back(old, std::nullopt);
        } else {
            Operation other;
            other.names = {{old, std::nullopt}};
            now_.pending.push_back(other);
        }
    }
    now_.pending.push_back(operation);
}

void DurableDisk::forget_text(const fs::path& file) {
    Operation operation;
    const int number = number_of(file);
    operation.text = {number, std::exchange(now_.durable.texts[number], "")};
    now_.pending.push_back(std::move(operation));
}

// Makes the names of a folder, the bytes of a file, or everything durable.
void DurableDisk::flush(int number) {
    std::vector<Operation> rest;
    for (Operation& operation : now_.pending) {
        const bool is_name = !operation.names.empty();
        const int changed = is_name ? operation.names[0].first.first : operation.text->first;
        if (number == -1 || changed == number)
            apply(operation, now_.durable);
        else
            rest.push_back(std::move(operation));
    }
    now_.pending = std::move(rest);
}

std::vector<Disk> DurableDisk::Moment::after_failure(int subsets) const {
    std::vector<Disk> disks;
    const auto add = [&](const auto& is_kept) {
        Disk disk = durable;
        for (std::size_t index = 0; index < pending.size(); ++index)
            if (is_kept(index))
                apply(pending[index], disk);
        disks.push_back(std::move(disk));
    };
    add([](std::size_t) { return true; });
    if (pending.empty())
        return disks;
    add([](std::size_t) { return false; });
    for (std::size_t one = 0; one < pending.size(); ++one) {
        add([one](std::size_t index) { return index != one; });
        add([one](std::size_t index) { return index == one; });
    }
    std::mt19937 random(1);
    for (int subset = 0; subset < subsets; ++subset)
        add([&](std::size_t) { return random() % 2 == 0; });
    return disks;
}

void Disk::write_to(const fs::path& directory, int folder, std::map<int, fs::path>* written) const {
    std::map<int, fs::path> all;
    if (written == nullptr)
        written = &all;
    for (auto name = names.lower_bound({folder, ""});
         name != names.end() && name->first.first == folder; ++name) {
        const fs::path path = directory / name->first.second;
        const auto text = texts.find(name->second);
        const auto first = written->find(name->second);
        if (text == texts.end()) {
            fs::create_directory(path);
            write_to(path, name->second, written);
        } else if (first != written->end()) {
            fs::create_hard_link(first->second, path);
        } else {
            std::ofstream(path) << text->second;
            written->emplace(name->second, path);
        }
    }
}

} // namespace test
