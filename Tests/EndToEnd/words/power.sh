# Words for a scene whose recordings lie on a disk of its own, of which the power is cut: what had not been flushed to
# it by then is lost, in no order. Sourced behind the others by a scene that is root in mounts of its own.
#
# The disk is a file on a second disk, and it is that one which is shut down: the kernel then drops all that its file
# system has not committed (ext4's and XFS's ioctl for it, since Linux 4.11), as a disk loses what is only in its cache.
carrier=$BRINDLE_SESSION/carrier # where the disk's file lies
file_system=

# make_disk FILE-SYSTEM: an empty one in the place of the recordings folder.
make_disk() {
    file_system=$1
    skip_without "mkfs.$file_system" mkfs.ext4
    grep -qwF "$file_system" /proc/filesystems || skip "this kernel has no $file_system"
    truncate --size 8G "$carrier.disk"
    mkfs.ext4 -q -F "$carrier.disk" || fail 'no disk could be made'
    mkdir -p "$carrier" "$recordings"
    mount -o loop "$carrier.disk" "$carrier" 2>/dev/null || skip 'this needs the right to mount a file as a disk'
    fallocate --length 7G "$carrier/disk" || fail 'the disk could not be made'
    "mkfs.$file_system" "$carrier/disk" >/dev/null 2>&1 || fail "no $file_system could be made"
    sync --file-system "$carrier"
    mount_disk
    chmod 700 "$recordings"
}
mount_disk() { mount -o loop "$carrier/disk" "$recordings" || fail "the $file_system could not be mounted"; }

# cut_power PROCESS...: none of them does anything with or after the cut.
cut_power() {
    kill -STOP "$@" 2>/dev/null
    python3 - "$carrier" <<'PYTHON' || fail 'the disk could not be shut down'
import fcntl, os, struct, sys
SHUTDOWN = 0x8004587D  # _IOR('X', 125, __u32)
WITHOUT_FLUSHING_THE_LOG = 2
fcntl.ioctl(os.open(sys.argv[1], os.O_RDONLY), SHUTDOWN, struct.pack("I", WITHOUT_FLUSHING_THE_LOG))
PYTHON
    kill -KILL "$@" 2>/dev/null
}
# Once nothing has a file open on the disk any more.
restore_power() {
    wait_for 30 'the end of the disk without power' umount "$recordings"
    wait_for 30 'the end of what carries the disk' umount "$carrier"
    mount -o loop "$carrier.disk" "$carrier" || fail 'what carries the disk could not be mounted'
    mount_disk
}
