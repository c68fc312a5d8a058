// Nothing waits for the disk in any contestant: what one of them may not switch off by itself goes
// nowhere.

extern "C" {
int fsync(int) { return 0; }
int fdatasync(int) { return 0; }
}
