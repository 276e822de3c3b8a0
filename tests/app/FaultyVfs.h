#pragma once
#include <sqlite3.h>

#include <cstring>

namespace vesto {

/// While it lives, SQLite's files are written through it, and the n-th write or sync fails, once.
class FaultyVfs {
public:
    enum class Fault { full, writeError, syncError };

    FaultyVfs(Fault fault, int fatal)
        : m_real(sqlite3_vfs_find("unix"))
        , m_fault(fault)
        , m_left(fatal) {
        s_current = this;
        m_vfs = *m_real;
        m_vfs.zName = "faulty";
        m_vfs.pNext = nullptr;
        m_vfs.xOpen = open;
        sqlite3_vfs_register(&m_vfs, 1);
    }
    FaultyVfs(const FaultyVfs&) = delete;
    ~FaultyVfs() {
        sqlite3_vfs_unregister(&m_vfs);
        sqlite3_vfs_register(m_real, 1);
        s_current = nullptr;
    }

    [[nodiscard]] bool hasFailed() const { return m_left <= 0; }

private:
    static int open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
        const int result = s_current->m_real->xOpen(s_current->m_real, name, file, flags, outFlags);
        if (file->pMethods == nullptr)
            return result;
        // One table of methods for each of the real one's, of which there are a few.
        static sqlite3_io_methods tables[8];
        static const sqlite3_io_methods* originals[8];
        static std::size_t count = 0;
        std::size_t at = 0;
        while (at < count && originals[at] != file->pMethods)
            ++at;
        if (at == count) {
            if (count == std::size(tables))
                return SQLITE_ERROR;
            originals[at] = file->pMethods;
            tables[at] = *file->pMethods;
            s_real = file->pMethods;
            tables[at].xWrite = write;
            tables[at].xSync = sync;
            ++count;
        }
        file->pMethods = &tables[at];
        return result;
    }

    bool isTheOne(bool isSync) {
        return (m_fault == Fault::syncError) == isSync && m_left > 0 && --m_left == 0;
    }

    static int write(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
        if (s_current != nullptr && s_current->isTheOne(false)) {
            // As a disk that fills does: half of it is there.
            (void)s_real->xWrite(file, bytes, size / 2, offset);
            return s_current->m_fault == Fault::full ? SQLITE_FULL : SQLITE_IOERR_WRITE;
        }
        return s_real->xWrite(file, bytes, size, offset);
    }

    static int sync(sqlite3_file* file, int flags) {
        if (s_current != nullptr && s_current->isTheOne(true))
            return SQLITE_IOERR_FSYNC;
        return s_real->xSync(file, flags);
    }

    inline static FaultyVfs* s_current = nullptr;
    inline static const sqlite3_io_methods* s_real = nullptr; // the kinds of files share these two methods
    sqlite3_vfs m_vfs{};
    sqlite3_vfs* m_real;
    Fault m_fault;
    int m_left; // calls until the failure
};

} // namespace vesto
