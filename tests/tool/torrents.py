"""Makes torrents for the tests of the host tool."""


def bencode(value):
    if isinstance(value, int):
        return b"i%de" % value
    if isinstance(value, str):
        value = value.encode()
    if isinstance(value, bytes):
        return b"%d:" % len(value) + value
    if isinstance(value, list):
        return b"l" + b"".join(map(bencode, value)) + b"e"
    items = {(k.encode() if isinstance(k, str) else k): v for k, v in value.items()}
    return b"d" + b"".join(bencode(k) + bencode(items[k]) for k in sorted(items)) + b"e"


def torrent(name="file.bin", length=1536, files=None, **entries):
    """One file called `name`, or `files` as (path elements, length); `entries` go into the torrent itself."""
    info = {"name": name, "piece length": 16384}
    if files is None:
        info["length"] = length
    else:
        info["files"] = [{"path": path, "length": size} for path, size in files]
        length = sum(size for _, size in files)
    info["pieces"] = b"\x01" * 20 * max(1, -(-length // 16384))
    return bencode({"info": info, **entries})
