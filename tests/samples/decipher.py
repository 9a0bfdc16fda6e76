"""Deciphers an encrypted backup with openssl, sharing no code with what wrote it.

Usage: decipher.py BACKUP PASSWORD. Prints "<class> <identifier> <SHA-1 of the plain file>" for every stored
file.
Fails where a key does not unwrap to the standard integrity value, or padding is wrong.
"""

import base64
import hashlib
import plistlib
import sqlite3
import struct
import subprocess
import sys
from pathlib import Path

INTEGRITY = b"\xa6" * 8
ATTRIBUTES_VECTOR = "c4e1907a2b5fd8366e0a13b9f7254d81"
USES_PASSWORD_ALONE = 2


def openssl(cipher, key, data, *more):
    command = ["openssl", "enc", "-d", f"-{cipher}", "-K", key.hex(), *more]
    return subprocess.run(command, input=data, stdout=subprocess.PIPE, check=True).stdout


def cbc(key, data):
    return openssl("aes-256-cbc", key, data, "-iv", "00" * 16)


def unwrapped(wrapping_key, wrapped):
    """RFC 3394, for many keys at once: one run of openssl for each step."""
    first = [each[:8] for each in wrapped]
    rest = [[each[i : i + 8] for i in range(8, len(each), 8)] for each in wrapped]
    for step in range(24, 0, -1):
        place = (step - 1) % 4
        mixed = [(int.from_bytes(a, "big") ^ step).to_bytes(8, "big") for a in first]
        blocks = b"".join(a + r[place] for a, r in zip(mixed, rest))
        plain = openssl("aes-256-ecb", wrapping_key, blocks, "-nopad")
        for i, r in enumerate(rest):
            first[i], r[place] = plain[16 * i : 16 * i + 8], plain[16 * i + 8 : 16 * i + 16]
    assert all(a == INTEGRITY for a in first), "a key fails its integrity test"
    return [b"".join(r) for r in rest]


def fields(bag):
    while bag:
        size = int.from_bytes(bag[4:8], "big")
        yield bag[:4].decode(), bag[8 : 8 + size]
        bag = bag[8 + size :]


def class_keys(bag, password):
    header, classes = {}, []
    for tag, value in fields(bag):
        if tag == "UUID" and "UUID" in header:
            classes.append({})
        (classes[-1] if classes else header)[tag] = value
    number = lambda value: int.from_bytes(value, "big")
    if "DPSL" in header:
        password = hashlib.pbkdf2_hmac("sha256", password, header["DPSL"], number(header["DPIC"]), 32)
    key = hashlib.pbkdf2_hmac("sha1", password, header["SALT"], number(header["ITER"]), 32)
    ours = [each for each in classes if number(each["WRAP"]) == USES_PASSWORD_ALONE]
    keys = unwrapped(key, [each["WPKY"] for each in ours])
    return {number(each["CLAS"]): plain for each, plain in zip(ours, keys)}


def file_keys(keys, records):
    """The keys of files by whatever the records go by."""
    plain = {}
    for number, class_key in keys.items():
        of_class = {name: each[4:] for name, each in records.items() if struct.unpack("<I", each[:4])[0] == number}
        if of_class:
            plain |= zip(of_class, unwrapped(class_key, list(of_class.values())))
    assert len(plain) == len(records), "a file is in a class that the password does not open"
    return plain


def archived_key(archive):
    objects = plistlib.loads(archive)["$objects"]
    return objects[objects[1]["EncryptionKey"].data]["NS.data"]


def records_in_database(backup, lists, keys, password):
    manifest = (backup / "Manifest.db").read_bytes()
    if "ManifestKey" in lists:
        manifest = cbc(file_keys(keys, {"": lists["ManifestKey"]})[""], manifest)
    database = sqlite3.connect(":memory:")
    database.deserialize(manifest)
    salt = database.execute("SELECT value FROM Properties WHERE key = 'salt'").fetchone()
    for name, archive in database.execute("SELECT fileID, file FROM Files WHERE flags = 1"):
        if salt:
            key = hashlib.sha1(password + salt[0]).digest()[:16]
            archive = openssl("aes-128-cbc", key, base64.b64decode(archive), "-iv", ATTRIBUTES_VECTOR)
        yield name, archived_key(archive)


def records_in_legacy_manifest(manifest):
    place = 6

    def text():
        nonlocal place
        size = int.from_bytes(manifest[place : place + 2], "big")
        begin, place = place + 2, place + 2 + (0 if size == 0xFFFF else size)
        return manifest[begin:place]

    while place < len(manifest):
        domain, path, target, digest, key = (text() for _ in range(5))
        mode, properties = int.from_bytes(manifest[place : place + 2], "big"), manifest[place + 39]
        place += 40
        for _ in range(2 * properties):
            text()
        if mode >> 12 == 8:
            yield hashlib.sha1(domain + b"-" + path).hexdigest(), key
        else:
            assert not key and not digest and (mode >> 12 == 10) == bool(target)
    assert manifest[:6] == b"mbdb\x05\x00" and place == len(manifest)


def main():
    backup, password = Path(sys.argv[1]), sys.argv[2].encode()
    lists = plistlib.loads((backup / "Manifest.plist").read_bytes())
    assert lists["IsEncrypted"]
    keys = class_keys(lists["BackupKeyBag"], password)
    legacy = backup / "Manifest.mbdb"
    if legacy.exists():
        records = dict(records_in_legacy_manifest(legacy.read_bytes()))
    else:
        records = dict(records_in_database(backup, lists, keys, password))
    for name, key in sorted(file_keys(keys, records).items()):
        stored = backup / name if legacy.exists() else backup / name[:2] / name
        if stored.exists():
            print(records[name][0], name, hashlib.sha1(cbc(key, stored.read_bytes())).hexdigest())


main()
