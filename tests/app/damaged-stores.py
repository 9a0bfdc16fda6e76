#!/usr/bin/env python3
"""Damages the stores of sample backups in every place in turn, and fails on silent loss.

Usage: damaged-stores.py POCKETDEX [--jobs N] [--store WORD] [--verbose]

Each SQLite store of a modern and of a legacy sample, and the manifest, is damaged in one place at a time:
every page zeroed, every page filled with random bytes, every table dropped, every table emptied that tells
what the rows of others are. The kinds that the store matters to are exported each time. The export then is the same as
that of the sound backup, or its status is 1, and export.json has a problem that names the store or its kind.
Every account must add up or say why it cannot. Nothing may crash or hang.

Prints a line for each store and each failure. The status is 1 when there was one.
"""

import argparse
import hashlib
import json
import os
import random
import shutil
import sqlite3
import subprocess
import sys
import tempfile
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from threading import local

ALL = ["messages", "contacts", "calendars", "notes", "calls", "bookmarks", "music"]
SECONDS = 60


class Store:
    """A store's place on the device, the kinds it matters to, and words of which a problem must use one."""

    def __init__(self, domain, path, kinds, words, more=(), optional=()):
        self.identifier = hashlib.sha1(f"{domain}-{path}".encode()).hexdigest()
        self.name = path.rsplit("/", 1)[-1]
        self.kinds = kinds
        self.words = [self.name.lower(), *words]
        self.more = list(more)  # Options of the export.
        self.optional = set(optional)  # Tables that sound stores of some systems lack.


STORES = [
    Store("HomeDomain", "Library/SMS/sms.db", ["messages"], ["message", "conversation"],
          optional=["chat_recoverable_message_join", "chat_handle_join"]),
    Store("HomeDomain", "Library/AddressBook/AddressBook.sqlitedb", ["contacts", "calls", "messages"],
          ["contact"]),
    Store("HomeDomain", "Library/AddressBook/AddressBookImages.sqlitedb", ["contacts"], ["contact", "picture"],
          more=["--pictures"], optional=["ABFullSizeImage"]),
    Store("HomeDomain", "Library/Calendar/Calendar.sqlitedb", ["calendars"], ["calendar", "event"]),
    Store("AppDomainGroup-group.com.apple.notes", "NoteStore.sqlite", ["notes"], ["note"]),
    Store("HomeDomain", "Library/Notes/notes.sqlite", ["notes"], ["note"]),
    Store("HomeDomain", "Library/CallHistoryDB/CallHistory.storedata", ["calls"], ["call"]),
    Store("WirelessDomain", "Library/CallHistory/call_history.db", ["calls"], ["call"]),
    Store("HomeDomain", "Library/Safari/Bookmarks.db", ["bookmarks"], ["bookmark"]),
    Store("MediaDomain", "Media/iTunes_Control/iTunes/MediaLibrary.sqlitedb", ["music"], ["music", "track", "playlist"]),
]
MANIFEST = Store("", "Manifest.db", ALL, ["manifest"])


def is_database(path):
    with open(path, "rb") as file:
        return file.read(16) == b"SQLite format 3\0"


def tree(folder):
    """The hash of each file but the report and the start page, which say what was lost."""
    return {
        str(path.relative_to(folder)): hashlib.sha1(path.read_bytes()).hexdigest()
        for path in sorted(folder.rglob("*"))
        if path.is_file() and path.name not in ("export.json", "index.html")
    }


def problems(report):
    """Every problem as one text, in lower case."""
    found = list(report["problems"])
    for item in report["items"]:
        found += item.get("unreadable", [])
    texts = [" ".join(each.values()).lower() for each in found]
    return texts + [f"the backup holds no {kind}" for kind in report["notHeld"]]


def account_faults(report):
    """What is wrong with the accounts of a report, which add up or say why they cannot."""
    faults = []
    for item in report["items"]:
        if not item["accounts"]:
            faults.append(f"{item['kind']} has no account")
        for account in item["accounts"]:
            of = f"the account of {item['kind']} in {account.get('store')}"
            if account["rows"] is None:
                if not account.get("why"):
                    faults.append(f"{of} does not say why there is none")
                if account.get("unaccounted") is not None:
                    faults.append(f"{of} has figures beside its null")
                continue
            rows = account["rows"] + account["repeated"]
            told = account["written"] + sum(account["leftOut"].values()) + account["unreadable"]
            if rows != told or account["unaccounted"] != 0:
                faults.append(f"{of} does not add up: {json.dumps(account)}")
    return faults


class Case:
    """One place in one store of one backup, and what makes the damage."""

    def __init__(self, backup, file, store, what, damage):
        self.backup, self.file, self.store, self.what, self.damage = backup, file, store, what, damage

    def __str__(self):
        return f"{self.backup.name} {self.store.name} {self.what}"


def set_page(number, size, content):
    def damage(path):
        with open(path, "r+b") as file:
            file.seek((number - 1) * size)
            file.write(content(size))

    return damage


def run_sql(*statements):
    def damage(path):
        database = sqlite3.connect(path)
        database.execute("PRAGMA foreign_keys=OFF")
        for statement in statements:
            database.execute(statement)
        database.commit()
        database.close()

    return damage


def cases_of(backup, file, store):
    path = backup / file
    database = sqlite3.connect(f"file:{path}?immutable=1", uri=True)
    size = database.execute("PRAGMA page_size").fetchone()[0]
    pages = database.execute("PRAGMA page_count").fetchone()[0]
    tables = [
        row[0]
        for row in database.execute(
            "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%' AND sql LIKE 'CREATE TABLE%'"
        )
    ]
    triggers = [row[0] for row in database.execute("SELECT name FROM sqlite_master WHERE type = 'trigger'")]
    database.close()
    for page in range(1, pages + 1):
        yield Case(backup, file, store, f"page {page} zeroed", set_page(page, size, bytes))
        noise = random.Random(page).randbytes
        yield Case(backup, file, store, f"page {page} random", set_page(page, size, noise))
    drops = [f'DROP TRIGGER "{name}"' for name in triggers]
    for table in tables:
        if table not in store.optional:
            yield Case(backup, file, store, f"without {table}", run_sql(*drops, f'DROP TABLE "{table}"'))
    if "Z_PRIMARYKEY" in tables:
        yield Case(backup, file, store, "Z_PRIMARYKEY emptied", run_sql("DELETE FROM Z_PRIMARYKEY"))


class Trial:
    """Exports with one damage after another, each thread in a copy of the backup of its own."""

    def __init__(self, program, scratch):
        self.program, self.scratch, self.own, self.sound = program, scratch, local(), {}

    def export(self, backup, store, to):
        command = [self.program, "export", backup, *store.kinds, *store.more, "--to", to]
        command += ["--jobs", "1"]
        environment = dict(os.environ, TMPDIR=str(to.parent), TZ="Europe/London", LC_ALL="C.UTF-8")
        done = subprocess.run(command, capture_output=True, timeout=SECONDS, env=environment)
        return done.returncode, done.stdout.decode(errors="replace") + done.stderr.decode(errors="replace")

    def add_sound(self, backup, store):
        key = (backup, store.identifier)
        to = Path(tempfile.mkdtemp(dir=self.scratch)) / "sound"
        status, text = self.export(backup, store, to)
        report = json.loads((to / "export.json").read_text())
        faults = account_faults(report)
        if status != 0 or faults:
            sys.exit(f"the sound {backup.name} gives status {status}: {text}{faults}")
        self.sound[key] = tree(to)

    def copy_of(self, backup):
        copies = self.own.__dict__.setdefault("copies", {})
        if backup not in copies:
            copies[backup] = Path(tempfile.mkdtemp(dir=self.scratch)) / backup.name
            shutil.copytree(backup, copies[backup])
        return copies[backup]

    def fault(self, case):
        """What is wrong with the export, nothing when all is well; and whether the damage showed."""
        copy = self.copy_of(case.backup)
        target = copy / case.file
        try:
            case.damage(target)
            return self.fault_of_copy(copy, case)
        finally:
            shutil.copyfile(case.backup / case.file, target)

    def fault_of_copy(self, copy, case):
        work = Path(tempfile.mkdtemp(dir=self.scratch))
        to = work / "to"
        try:
            status, text = self.export(copy, case.store, to)
        except subprocess.TimeoutExpired:
            return f"no end within {SECONDS} s", False
        try:
            if status == 3 and case.store is MANIFEST:
                return None, True  # Without a readable manifest nothing can be exported, and it says so.
            if status not in (0, 1):
                return f"status {status}: {text[-2000:]}", False
            report = json.loads((to / "export.json").read_text())
            if faults := account_faults(report):
                return "; ".join(faults), False
            written, sound = tree(to), self.sound[(case.backup, case.store.identifier)]
            if written == sound:
                return None, status != 0
            said = problems(report)
            lost = sorted(name for name in sound if written.get(name) != sound[name])
            new = sorted(name for name in written if name not in sound)
            difference = f"{len(lost)} files differ or are gone {lost[:3]}, {len(new)} are new {new[:3]}"
            if status != 1:
                return f"status {status}, but {difference}", False
            if not any(word in each for word in case.store.words for each in said):
                return f"no problem names the store, but {difference}: {said[:3]}", False
            return None, True
        finally:
            shutil.rmtree(work)


def samples(program, scratch):
    for generation in ("modern", "legacy"):
        backup = scratch / generation
        command = [program, "sample", backup, "--generation", generation, "--messages", "400", "--seed", "1"]
        subprocess.run(command, check=True, capture_output=True)
        yield backup


def all_cases(backups, word):
    seen = set()  # Most stores of the second backup are those of the first.
    for backup in backups:
        files = {path.name: path.relative_to(backup) for path in backup.rglob("*") if path.is_file()}
        for store in [*STORES, MANIFEST]:
            file = files.get(store.identifier if store is not MANIFEST else store.name)
            content = (backup / file).read_bytes() if file else b""
            if file and word.lower() in store.name.lower() and content not in seen:
                seen.add(content)
                yield from cases_of(backup, file, store)
        known = {store.identifier for store in STORES} | {MANIFEST.name}
        for name, path in files.items():
            if name not in known and is_database(backup / path):
                sys.exit(f"{backup.name}: the store {path} is new: say which kinds it matters to")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--store", default="", help="only stores whose names contain this")
    parser.add_argument("--generation", default="")
    parser.add_argument("--verbose", action="store_true")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        scratch = Path(folder)
        trial = Trial(os.path.abspath(options.program), scratch)
        cases = list(all_cases(samples(trial.program, scratch), options.store))
        cases = [case for case in cases if options.generation in case.backup.name]
        for backup, store in {(case.backup, case.store) for case in cases}:
            trial.add_sound(backup, store)
        tried, shown, failed = Counter(), Counter(), Counter()
        with ThreadPoolExecutor(options.jobs) as pool:
            for case, (fault, is_said) in zip(cases, pool.map(trial.fault, cases)):
                key = f"{case.backup.name} {case.store.name}"
                tried[key] += 1
                shown[key] += is_said
                failed[key] += fault is not None
                if fault or options.verbose:
                    print(f"{'FAIL' if fault else 'ok  '} {case}: {fault or ''}", flush=True)
    print(f"{'store':40} {'tried':>6} {'said':>6} {'silent':>7}")
    for key in tried:
        print(f"{key:40} {tried[key]:6} {shown[key]:6} {failed[key]:7}")
    sys.exit(1 if sum(failed.values()) else 0)


if __name__ == "__main__":
    main()
