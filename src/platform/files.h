// File helpers: thin checked wrappers over POSIX files. Every failure ends
// the process through fatalMessage with one of the fixed texts
// "Unable to open or create file.", "Unable to close file.",
// "Error Reading File.", "Error Writing File." or "Path does not exist.".
// Callers that must survive a failure (a writer that retries, a menu that
// asks again) use the *Try forms, which return -1 / false instead.
#pragma once

#include <cstdint>

// Opens an existing file for reading. Fatal when it cannot be opened.
int fileOpenRead(const char* path);
// Opens (creating if needed) a file for reading and writing, keeping its
// contents. Fatal when it cannot be opened or created.
int fileOpenWrite(const char* path);
// Creates a file, or empties an existing one, for writing. Fatal on failure.
int fileCreate(const char* path);
// The same three without the fatal ending: -1 on failure, errno kept.
int fileOpenReadTry(const char* path);
int fileOpenWriteTry(const char* path);
int fileCreateTry(const char* path);

// Closes a descriptor; a negative one is ignored. Fatal on failure.
void fileClose(int fd);

// Reads exactly `bytes` bytes at the current position. A read error or an
// early end of file is fatal ("Error Reading File.").
void fileRead(int fd, void* buffer, uint64_t bytes);
// Reads up to `bytes` bytes, stopping early only at the end of the file.
// Returns the count read. A read error is fatal.
uint64_t fileReadSome(int fd, void* buffer, uint64_t bytes);
// Writes all `bytes` bytes at the current position. Fatal when the bytes
// cannot all be written ("Error Writing File.").
void fileWrite(int fd, const void* buffer, uint64_t bytes);
// Positional forms of the same; the file position is not moved.
void fileReadAt(int fd, uint64_t offset, void* buffer, uint64_t bytes);
void fileWriteAt(int fd, uint64_t offset, const void* buffer, uint64_t bytes);
// The same loops without the fatal ending: false on failure, errno kept.
bool fileWriteTry(int fd, const void* buffer, uint64_t bytes);
bool fileWriteAtTry(int fd, uint64_t offset, const void* buffer, uint64_t bytes);
bool fileReadAtTry(int fd, uint64_t offset, void* buffer, uint64_t bytes);

// Moves the file position; fatal on failure ("Error Reading File.").
void fileSeek(int fd, uint64_t offset);
// Sets the length of the file; fatal on failure ("Error Writing File.").
void fileSetLength(int fd, uint64_t bytes);
// Flushes the file's data to the device; fatal on failure ("Error Writing File.").
void fileFlush(int fd);

// Size in bytes of the file at `path`; "Path does not exist." when it is
// missing. fileSizeOfOpen gives the size of an open descriptor.
uint64_t fileSize(const char* path);
uint64_t fileSizeOfOpen(int fd);
// True when something exists at `path`.
bool pathExists(const char* path);
// True when `path` is an existing directory.
bool directoryExists(const char* path);
// Creates a directory; an existing one is accepted. False on failure.
bool directoryCreate(const char* path);
// Removes a file; false when it could not be removed.
bool fileDelete(const char* path);
