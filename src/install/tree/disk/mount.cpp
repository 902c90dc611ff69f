#include "install/tree/disk/mount.hpp"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <sstream>

#include <linux/magic.h>
#include <sys/sysmacros.h>

namespace install::tree {

namespace {

constexpr std::uint32_t shared_types[] = {NFS_SUPER_MAGIC,  SMB_SUPER_MAGIC,  CIFS_SUPER_MAGIC,
                                          SMB2_SUPER_MAGIC, CEPH_SUPER_MAGIC, V9FS_MAGIC,
                                          AFS_SUPER_MAGIC,  FUSE_SUPER_MAGIC};

// These have their files on a disk of their own, or in layers that belong to one mount.
constexpr const char* local_types[] = {"fuseblk", "fuse.fuse-overlayfs"};

struct MountLine {
    std::string type;
    std::string options; // of the file system
};

// Returns what the system says of a mounted file system; nothing where it does not tell.
MountLine line_of(std::uint64_t device) {
    const std::string number = std::to_string(major(device)) + ':' + std::to_string(minor(device));
    std::ifstream mounts("/proc/self/mountinfo");
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream fields(line);
        std::string field;
        for (int index = 0; index < 3; ++index) // two numbers of mounts before it
            fields >> field;
        if (field != number)
            continue;
        while (fields >> field && field != "-")
            continue;
        MountLine result;
        fields >> result.type >> field >> result.options;
        return result;
    }
    return {};
}

std::string danger_of(const MountLine& line) {
    if (line.type == "fuse.rclone")
        return "On this file system (" + line.type + "), a renamed file may be lost.";
    const std::string options = ',' + line.options + ',';
    if (line.type == "fuse.sshfs" || line.type == "fuse.bindfs" || line.type == "fuse" ||
        line.type == "fuse.s3fs" || line.type == "fuse.gcsfuse" ||
        options.find(",nobrl,") != std::string::npos ||
        options.find(",local_lock=all,") != std::string::npos ||
        options.find(",local_lock=flock,") != std::string::npos)
        return "Other mounts of this file system (" + line.type + ") do not see its locks.";
    return {};
}

} // namespace

Mount Mount::of(const Directory& directory) {
    Mount mount;
    const std::uint32_t type = directory.file_system_type();
    mount.is_shared = std::ranges::find(shared_types, type) != std::end(shared_types);
    if (!mount.is_shared)
        return mount;
    const MountLine line = line_of(directory.status(".").device);
    mount.is_shared = std::ranges::find(local_types, line.type) == std::end(local_types);
    mount.danger = danger_of(line);
    return mount;
}

} // namespace install::tree
