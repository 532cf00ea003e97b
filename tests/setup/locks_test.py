#!/usr/bin/python3
"""The check of locks finds what it is for: each small file with a fault is refused, the one without is not."""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
SETTING = """
#include "base/lock_order.h"
#include "base/mutex.h"
#include "session/list_lock.h"
using namespace sdkapi;
struct Counter {
  Mutex mutex ACQUIRED_AFTER(contextLock) ACQUIRED_BEFORE(listLock);
  Condition changed;
  int value GUARDED_BY(mutex) = 0;
  HandleManage list{};
  HandleManage* last GUARDED_BY(LockOf(list)) = &list;
} counter;
Mutex inner ACQUIRED_AFTER(listLock);
void Add() REQUIRES(counter.mutex) { ++counter.value; }
void Walk() EXCLUDES(listLock) { const ListLock lock(counter.list); }
"""
RIGHT = """
HandleManage* Use() {
  const ScopedLock lock(counter.mutex);
  while (counter.value < 0) counter.changed.Wait(counter.mutex);
  Add();
  Walk();
  const ListLock inside(counter.list);
  const ScopedLock innermost(inner);
  return counter.last;
}
"""
WRONG = {
    "int Use() { return counter.value; }": "requires holding mutex 'counter.mutex'",
    "void Use() { Add(); }": "requires holding mutex 'counter.mutex'",
    "void Use() { counter.changed.Wait(counter.mutex); }": "requires holding mutex 'counter.mutex'",
    "HandleManage* Use() { return counter.last; }": "requires holding mutex 'LockOf(counter.list)'",
    "HandleManage* Use(HandleManage& other) { const ListLock lock(other); return counter.last; }": "requires holding",
    "void Use() { const ListLock lock(counter.list); Walk(); }": "cannot call function 'Walk' while lock 'listLock' is held",
    "void Use(HandleManage& other) { const ListLock lock(counter.list); const ListLock second(other); }": "already held",
    "void Use() { const ScopedLock lock(counter.mutex); const ScopedLock again(counter.mutex); }": "already held",
    "void Use() { counter.mutex.Lock(); }": "still held at the end of function",
    "void Use() { const ListLock lock(counter.list); const ScopedLock late(counter.mutex); }": "must be acquired before 'listLock'",
    "void Use() { const ScopedLock lock(inner); const ScopedLock late(counter.mutex); }": "must be acquired before 'inner'",
}


def check(code):
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "locks.cpp"
        path.write_text(SETTING + code)
        done = subprocess.run([ROOT / "scripts/check-locks", path], capture_output=True, text=True, check=False)
        return done.returncode, done.stderr


def main():
    faults = []
    for path in sorted((ROOT / "src").rglob("*.[ch]*")):
        if path.name not in ("mutex.h", "list_lock.h") and re.search(r"pthread_(mutex|cond)_t|std::(recursive_)?mutex", path.read_text()):
            faults.append(f"{path.name}: a lock that clang cannot check")
    if shutil.which("clang++"):
        faults += [f"refused: {RIGHT}{text}" for code, text in [check(RIGHT)] if code != 0]
        for fault, expected in WRONG.items():
            code, text = check(fault)
            if code == 0 or expected not in text:
                faults.append(f"not refused for its fault: {fault}\n{text}")
    print("\n".join(faults) or f"{len(WRONG)} faults refused")
    return 1 if faults else 0 if shutil.which("clang++") else 77


sys.exit(main())
