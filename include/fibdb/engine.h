/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* fibdb/engine.h: administration of the embedded engine (libfibdb-engine): its codes, statistics, limits,
 * completion of batches, a look at any table, test faults. The database itself is reached through the
 * platform's db_* calls.
 *
 * Functions return 0 or a code of this header or of common.h. Any thread may call them at any time.
 *
 * What reads promise beside writers, which they never wait for: a single read (by primary or secondary key, unique, the
 * first step of an iterator by longest prefix) and a count are right at some moment between call and return. Of several
 * records under a secondary key a read gives the first in the order of the primary key. An iterator returns every
 * record that stays exactly once and none twice; a record that comes later it does not return.
 *
 * The tables are the process's own, unless it joins an arena (fibdb_engine_join, or FIBDB_ARENA): then they are those
 * of all processes in it, and all that is said here of threads holds of processes, too. A process may end in any way
 * at any moment: what it was writing is then there or not, and harms nobody.
 *
 * fork(), with tables of the process's own: the child has them as they stood between two writes, registered tables and
 * limits included, and a copy of its own: it may read and write at once, whatever other threads of the parent were
 * doing, and neither process sees what the other writes afterwards. In an arena parent and child share the tables. The
 * child has none of the parent's objects, iterators and connections: their handles are stale there (DB_ERR_BAD_HANDLE,
 * in every call), releases included, and what waits in a connection or was added to a batch object is the parent's to
 * apply. It opens a connection and makes objects of its own; see route.h for the batch path. The parent is not
 * disturbed: fork() waits for the writes under way, and they for it.
 */
#ifndef FIBDB_ENGINE_H
#define FIBDB_ENGINE_H

#include <stddef.h>

#include "fibdb/common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Codes of the engine beside those of common.h; fibdb_engine_error_text has a line for each. */
enum {
  DB_ERR_BAD_HANDLE = 20001,         /* zero, stale, or a handle of another kind */
  DB_ERR_WRONG_TABLE = 20002,        /* the object belongs to another table */
  DB_ERR_WRONG_KIND = 20003,         /* the object was not created for this operation */
  DB_ERR_NULL_ARGUMENT = 20004,      /* a pointer that must not be NULL is NULL */
  DB_ERR_BAD_INDEX = 20005,          /* the table has no index with this id, or it cannot serve this operation */
  DB_ERR_BAD_KEY = 20006,            /* the key is outside its index: a mask above 32 */
  DB_ERR_KEY_MISMATCH = 20007,       /* a staged key field differs from the key of the update */
  DB_ERR_BAD_LENGTH = 20008,         /* a field, row or buffer of the wrong length */
  DB_ERR_BAD_PROPERTY = 20009,       /* not property 0, not four bytes, or a table without vr_id */
  DB_ERR_NO_CURRENT = 20010,         /* the object stands on no record */
  DB_ERR_BAD_STATEMENT = 20011,      /* an unknown statement or condition kind, or no complete statement */
  DB_ERR_OBJECT_LIMIT = 20012,       /* too many objects or connections exist */
  DB_ERR_NO_MEMORY = 20013,          /* the arena is exhausted */
  DB_ERR_MEMORY_LIMIT = 20014,       /* the table's memory limit is reached */
  DB_ERR_RECORD_LIMIT = 20015,       /* the table's record limit is reached */
  DB_ERR_BATCH_EMPTY_OBJECT = 20016, /* the batch object has no operation begun */
  DB_ERR_CONNECTION_CLOSED = 20017,  /* the connection of this batch object is closed */
  DB_ERR_BAD_NODE = 20018,           /* the table has no child node of this name, or it is another node's handle */
  DB_ERR_NOT_REGISTERED = 20019,     /* table service: no table is registered under this id */
  DB_ERR_ALREADY_REGISTERED = 20020, /* table service: the id belongs to another table */
  DB_ERR_BAD_DESCRIPTOR = 20021,     /* table service: no name, a missing function, or an id above 63 */
  DB_ERR_EXISTS = 20022,             /* table service: a record with this primary key exists */
  DB_ERR_READ_ONLY = 20023,          /* the process joined the arena for reading only */
  DB_ERR_ARENA_ACCESS = 20024,       /* the arena's file cannot be opened, made or mapped */
  DB_ERR_ARENA_FOREIGN = 20025,      /* the file is no arena */
  DB_ERR_ARENA_LAYOUT = 20026,       /* the arena was made by another version of the engine */
  DB_ERR_ARENA_CUT = 20027,          /* the arena's file is shorter than it was made, perhaps since it was joined */
  DB_ERR_ARENA_JOINED = 20028,       /* the process is in an arena already, its own or another */
  DB_ERR_ARENA_BUSY = 20029,         /* processes are in the arena */
  DB_ERR_REPLACE_BUSY = 20030,       /* a process is telling the table anew */
  DB_ERR_NO_REPLACE = 20031,         /* nobody is telling the table anew */
  DB_ERR_OVERTAKEN = 20032           /* a look at a whole table: writes came between again and again */
};

/* One set of tables for all processes of a device. By default a process's tables are its own and end with it. In an
 * arena they lie in a file: who comes first makes it, the others join, and it stays when all have gone, with everything
 * in it. A process in an arena has objects, handles, connections and registered tables of its own. After fork() the
 * child is in the arena as its parent is.
 *
 * An unmodified program joins when the environment variable FIBDB_ARENA names an arena; FIBDB_ARENA_MODE (octal),
 * FIBDB_ARENA_SIZE (bytes, or with K, M, G) and FIBDB_ARENA_READ_ONLY (not empty) stand for the other fields. */
typedef struct FibDbEngineArena {
  const char* name;  /* a file fibdb.NAME in /dev/shm, or with a slash a path; NULL or "": tables of its own */
  uint64_t bytes;    /* address space, of which memory is taken as it is used; 0: 32 GiB. Who joins takes what is there;
                     tables of its own halve it until the system has as much */
  uint32_t mode;     /* of the file, when it is made; 0: 0660 */
  uint32_t readOnly; /* not 0: the arena is there or it is not, the process cannot change it, and every call that would
                        write answers DB_ERR_READ_ONLY */
} FibDbEngineArena;

/* Joins an arena. It must come before every other call that needs the tables, of this header or of the platform. After
 * one that failed another may be tried; joined for reading only, it may be called again for the same arena to write,
 * too, while no other thread is in the engine. 0; DB_ERR_ARENA_ACCESS, _FOREIGN, _LAYOUT, _CUT, DB_ERR_NO_MEMORY: what
 * was expected and found says fibdb_engine_join_text, and nothing was changed; DB_ERR_ARENA_JOINED. How NULL: as the
 * environment says. */
FIBDB_API uint32_t fibdb_engine_join(const FibDbEngineArena* how);
/* Why the process is in no arena, or ""; it stands until the next call of fibdb_engine_join. */
FIBDB_API const char* fibdb_engine_join_text(void);

/* The arena that the process is in. DB_ERR_NO_DATA: its tables are its own. */
typedef struct FibDbEngineShared {
  const char* path;
  uint64_t bytes;     /* of address space */
  uint64_t used;      /* bytes handed to tables */
  uint64_t createdAt; /* microseconds since 1970 */
  uint64_t repairs;   /* writes of processes that died, taken back or completed by the next writer */
  uint64_t refused;   /* writes of this process refused because it joined for reading only */
  uint32_t readOnly;
} FibDbEngineShared;
FIBDB_API uint32_t fibdb_engine_shared(FibDbEngineShared* out);

/* A process in an arena. Of one that only reads no more is known than when it joined. */
typedef struct FibDbEngineProcess {
  uint32_t pid;
  uint32_t writes;      /* not 0: joined for writing, too */
  uint32_t isDead;      /* not 0: it ended and has not been swept yet, which the next that joins does */
  uint64_t joinedAt;    /* microseconds since 1970, to the second; of the dead 0 */
  uint64_t waiting;     /* batches handed over and not yet applied */
  uint64_t lastWriteAt; /* microseconds since 1970; 0: none */
  char name[16];        /* of its program; of the dead empty */
} FibDbEngineProcess;
/* Calls visit for every process in an arena, this one included, until it returns non-zero. name as for joining; NULL:
 * the arena that the process is in, DB_ERR_NO_DATA when it is in none. The record lives until visit returns. */
typedef int (*FibDbEngineProcessVisit)(const FibDbEngineProcess* process, void* context);
FIBDB_API uint32_t fibdb_engine_processes(const char* name, FibDbEngineProcessVisit visit, void* context);

/* The arenas in /dev/shm. code: 0, or why this engine cannot join it, and text says what was expected and found. */
typedef struct FibDbEngineArenaEntry {
  const char* name;
  uint64_t bytes;     /* of address space */
  uint64_t allocated; /* bytes of memory */
  uint64_t createdAt; /* microseconds since 1970 */
  uint32_t processes; /* that are in it */
  uint32_t code;
  const char* text;
} FibDbEngineArenaEntry;
typedef int (*FibDbEngineArenaVisit)(const FibDbEngineArenaEntry* arena, void* context);
FIBDB_API uint32_t fibdb_engine_arenas(FibDbEngineArenaVisit visit, void* context);
/* Removes an arena's file. While processes are in it: DB_ERR_ARENA_BUSY, unless busyToo is not 0; they then go on with
 * what nobody else can join any more. DB_ERR_ARENA_FOREIGN: the file is no arena, and stays; DB_ERR_ARENA_ACCESS. */
FIBDB_API uint32_t fibdb_engine_arena_remove(const char* name, uint32_t busyToo);

/* FIBDB_VERSION of the engine that is loaded, which may be later than the one a program was built with. */
FIBDB_API const char* fibdb_engine_version(void);

/* A line of text for any code of the engine's calls, and for any status of the library's functions; never NULL. */
FIBDB_API const char* fibdb_engine_error_text(uint32_t code);

/* How many tables the schema has; their numbers are 0 to count - 1. Others are DB_ERR_WRONG_TABLE. */
FIBDB_API uint32_t fibdb_engine_table_count(void);
/* The number of the table with that name, or UINT32_MAX. */
FIBDB_API uint32_t fibdb_engine_find_table(const char* name);

typedef struct FibDbEngineTableStats {
  const char* name;
  uint32_t rowLength; /* bytes */
  uint32_t indexCount;
  uint64_t records;
  uint64_t bytes;       /* memory the table holds: records, indexes, free and resting blocks */
  uint64_t recordLimit; /* 0: none */
  uint64_t memoryLimit; /* bytes, 0: none */
  uint64_t inserted;    /* operations since start, by outcome */
  uint64_t replaced;
  uint64_t updated;
  uint64_t removed;
  uint64_t refused; /* writes refused at a limit */
} FibDbEngineTableStats;
FIBDB_API uint32_t fibdb_engine_table_stats(uint32_t table, FibDbEngineTableStats* out);

/* Limits of one table; 0 lifts a limit. What is stored already stays. bytes counts whole extents of 256 KiB.
 * At a limit, and when the arena is exhausted, a write that needs more is refused (DB_ERR_RECORD_LIMIT,
 * DB_ERR_MEMORY_LIMIT, DB_ERR_NO_MEMORY), everything stored stays readable, and every record can be removed: for
 * that a table keeps some 100 KiB back. What was removed can be inserted again; a table that is refilled in another
 * order may for that pass its memory limit by up to a quarter. */
FIBDB_API uint32_t fibdb_engine_set_limits(uint32_t table, uint64_t records, uint64_t bytes);

typedef enum FibDbEngineColumnKind {
  FIBDB_ENGINE_NUMBER = 0, /* an unsigned number of width bytes, host byte order; count of them */
  FIBDB_ENGINE_BYTES = 1   /* count opaque bytes */
} FibDbEngineColumnKind;

typedef struct FibDbEngineColumn {
  const char* name;
  FibDbEngineColumnKind kind;
  uint32_t offset; /* in the row */
  uint32_t width;
  uint32_t count;
} FibDbEngineColumn;
FIBDB_API uint32_t fibdb_engine_column_count(uint32_t table);
/* DB_ERR_NO_DATA: there is no such column. */
FIBDB_API uint32_t fibdb_engine_column(uint32_t table, uint32_t column, FibDbEngineColumn* out);

/* Calls visit for every row of a table until it returns non-zero, and returns 0. The row is a copy that lives
 * until visit returns; visit may write to the table. Same promises as a root iterator. */
typedef int (*FibDbEngineVisit)(const void* row, uint32_t length, void* context);
FIBDB_API uint32_t fibdb_engine_walk(uint32_t table, FibDbEngineVisit visit, void* context);
/* The same of the rows whose keys lie from low to high, both included, in the order of the keys; what lies before low
 * costs nothing. index: the id of an index that keeps an order (FIB_DB_IP4FORWARD_DICTIONARY), of any other
 * DB_ERR_BAD_INDEX; low, high: packed keys of that index. */
FIBDB_API uint32_t fibdb_engine_walk_range(uint32_t table, uint32_t index, const void* low, const void* high,
                                           FibDbEngineVisit visit, void* context);

/* The longest prefix that covers each of many addresses, which is faster than one lookup after the other. index: the id
 * of an index by longest prefix (FIB_DB_IP4FORWARD_LONGEST), of any other DB_ERR_BAD_INDEX; leading: what stands before
 * the address in its packed key (virtual router and VRF, two numbers of 32 bits); addresses: count of them, in host
 * byte order. rows: room for count rows of the table (FibDbIp4forwardRecord); found: count bytes, each becomes 1, or 0
 * where there is no such prefix and the row has no meaning. Each answer is right at some moment between call and
 * return, as any single read is; they need not be right at the same moment. */
FIBDB_API uint32_t fibdb_engine_lookup_each(uint32_t table, uint32_t index, const void* leading,
                                            const uint32_t* addresses, uint32_t count, void* rows, uint8_t* found);

/* How many nodes of an index (buckets, nodes of trees and tries) lie on the way to the first record of a key, as an
 * iterator or a read takes it; in an index that keeps an order to the first record from the key on. A measure for
 * people: the search is made once more for it. index: any of the table, key: packed. DB_ERR_BAD_KEY: a mask above 32
 * for longest prefix. */
FIBDB_API uint32_t fibdb_engine_explain(uint32_t table, uint32_t index, const void* key, uint32_t* nodes);

/* What a check has looked at. */
typedef struct FibDbEngineCheck {
  uint32_t tables;    /* checked to the end */
  uint32_t overtaken; /* not checked: writes came between again and again, or one is under way and stands still */
  uint64_t records;   /* of the tables checked */
  uint64_t blocks;    /* of memory: nodes, buckets, extents of records, free and resting ones */
  uint64_t findings;
} FibDbEngineCheck;

/* A table's name and what is wrong with it, a line of text; or NULL for a table that was overtaken. Numbers behind a
 * colon are places in the arena, in units of 16 bytes. Of findings that differ by their place alone the line has the
 * first, and how many more there are. Non-zero ends the check; what it counts is then of the tables before. */
typedef int (*FibDbEngineFinding)(const char* table, const char* finding, void* context);

/* Checks every word of the arena: all memory of a table has exactly one owner, every record stands in every index once
 * and under its own key, what is in order is, every count is right, nothing leads elsewhere. 0, also when there are
 * findings; DB_ERR_NO_MEMORY. It changes nothing, waits for nobody and nobody for it, and ends whatever the memory
 * holds. A table is checked as it stands between two writes: a look that a write overtakes begins again, some times.
 * Costs about a quarter of the time that the records took to write, and memory: a sixteenth of the largest table. */
FIBDB_API uint32_t fibdb_engine_check(FibDbEngineFinding visit, void* context, FibDbEngineCheck* out);

/* What a part of a table's memory is for, in words; the index, if it is one (its id, else 0); and the bytes. Non-zero
 * ends the visits. */
typedef int (*FibDbEngineStructure)(const char* structure, uint32_t index, uint64_t bytes, void* context);

/* Where the memory of a table went: its records, each of its indexes, free blocks, blocks that rest because readers may
 * still look at them, and the queue in which they do. Together that is all that the table has taken of the arena; the
 * parts that have nothing are left out. A look at the whole table, as fibdb_engine_check takes it, and as costly.
 * DB_ERR_OVERTAKEN, DB_ERR_NO_MEMORY, DB_ERR_WRONG_TABLE. */
FIBDB_API uint32_t fibdb_engine_structures(uint32_t table, FibDbEngineStructure visit, void* context);

typedef struct FibDbEngineArenaStats {
  uint64_t reserved; /* bytes of address space */
  uint64_t used;     /* bytes handed to tables */
  uint64_t objects;  /* table objects alive */
  uint64_t connections;
} FibDbEngineArenaStats;
FIBDB_API uint32_t fibdb_engine_arena_stats(FibDbEngineArenaStats* out);

/* What became of one batch. code: the first failure, or 0. */
typedef struct FibDbBatchResult {
  uint32_t operations;
  uint32_t inserted;
  uint32_t replaced;
  uint32_t updated;
  uint32_t removed;
  uint32_t failed;
  uint32_t code;
} FibDbBatchResult;

/* A completion record: its address, as a 64-bit value, is the execution argument of a batch. done is called
 * once, on the engine's thread, after the batch was applied; the record must live until then.
 * A batch without one (argument 0) of at most four operations by primary key is applied before its execution returns,
 * when no other waits. */
typedef struct FibDbBatchCompletion {
  void (*done)(void* context, const FibDbBatchResult* result);
  void* context;
} FibDbBatchCompletion;

typedef struct FibDbEngineConnectionStats {
  uint64_t batchLimit; /* operations in one batch */
  uint64_t queueLimit; /* batches waiting */
  uint64_t waiting;    /* batches handed over and not yet applied */
  uint64_t batches;    /* batches applied */
  uint64_t operations; /* operations applied, failed ones included */
  uint64_t failed;
  uint64_t refusedBatches; /* times the queue was full */
} FibDbEngineConnectionStats;
FIBDB_API uint32_t fibdb_engine_connection_stats(uint64_t connection, FibDbEngineConnectionStats* out);

/* Waits until every batch handed over so far has been applied and its completion has returned.
 * DB_ERR_BATCH_BUSY, as from db_disconnect, when such a completion asks for it. A cancellation point: a thread that is
 * cancelled here ends its wait and nothing else. No other call of the engine is one. */
FIBDB_API uint32_t fibdb_engine_drain(uint64_t connection);

/* Removes every record of a table, one after the other, as any removal does; records that come meanwhile may stay. Its
 * limits and statistics stay. removed: how many these were; may be NULL. */
FIBDB_API uint32_t fibdb_engine_clear(uint32_t table, uint64_t* removed);

/* Telling a table anew, as a process does that has started again over tables that stayed. What is written from the
 * begin on, by any process and in any way, is of the new telling; the end removes every record that was not written
 * since, one after the other as any removal does, and readers miss nothing that is in both. That a record was written
 * decides, and nothing in it: table_smooth_id is the application's own and not looked at. To write a record as it is
 * costs less than to change it.
 * vr: the virtual router of which records may be removed, or UINT32_MAX: all. DB_ERR_BAD_PROPERTY: a table without
 * vr_id. One table is told anew by one process at a time: DB_ERR_REPLACE_BUSY.
 * A process that ends before its end removes nothing. That it had begun is seen (fibdb_engine_replace_state), and
 * another process may take it over, tell the rest and end it, or give it up: everything stays then. */
typedef struct FibDbEngineReplace {
  uint32_t active;  /* not 0: begun and not ended */
  uint32_t pid;     /* by whom */
  uint32_t isAlive; /* not 0: that process is still there */
  uint32_t vr;      /* UINT32_MAX: all */
  uint64_t beganAt; /* microseconds since 1970 */
  uint64_t kept;    /* records written as they were, by the first write of each */
  uint64_t changed; /* written otherwise */
  uint64_t added;   /* not there before */
  uint64_t removed; /* by the end */
} FibDbEngineReplace;
FIBDB_API uint32_t fibdb_engine_begin_replace(uint32_t table, uint32_t vr);
/* out: what became of the records; may be NULL. DB_ERR_NO_REPLACE: none was begun. */
FIBDB_API uint32_t fibdb_engine_end_replace(uint32_t table, FibDbEngineReplace* out);
FIBDB_API uint32_t fibdb_engine_take_over_replace(uint32_t table);
FIBDB_API uint32_t fibdb_engine_give_up_replace(uint32_t table);
/* As it stands, or as the last one ended. */
FIBDB_API uint32_t fibdb_engine_replace_state(uint32_t table, FibDbEngineReplace* out);

/* The statistics of all tables, of the arena and of all connections, closed ones included, as OpenMetrics text, its
 * closing line and a zero included. size: bytes of the buffer. *length: what the text needs without the zero.
 * DB_ERR_BAD_LENGTH when there is no room for all of it: call again with more. NULL and 0 bytes ask how much. */
FIBDB_API uint32_t fibdb_engine_metrics(char* buffer, size_t size, size_t* length);

/* For tests: the next `count` calls that commit a write, update or removal of the table apply it and then
 * return code instead of 0 (13044, say). count 0 ends it. Operations of a batch are not such calls. */
FIBDB_API uint32_t fibdb_engine_fault(uint32_t table, uint32_t code, uint32_t count);

/* For tests: empties every table, lifts limits, ends faults and forgets registrations. No other thread may be
 * inside the engine; objects must be released first. DB_ERR_BATCH_BUSY while a connection is open. */
FIBDB_API uint32_t fibdb_engine_reset(void);

#ifdef __cplusplus
}
#endif

#endif
