"""URLs, paths, requests and names of files, each behind a byte that chooses the helpers and one for a flag."""

URLS = ["HTTP://x", "https://a/b c", "ftp://x", "magnet:?xt=", "Udp://t:80", "a+b%41%4", "%zz%", "%00a", "%e9%\xff1", "a b c", ""]
SPLITS = ["host//path/x", "/", "a", "a/", "//a", "a/b/c", ""]
PATHS = [
    ("/Users/me", "/Users/Me/x"), ("/users/m", "/Users/Me/x"), ("/a/", "/A//b"), ("", "/a"), ("/a", "/ab"), ("/a", "/a"),
    ("//", "///"), ("x", "/a///"), ("x", "/abc/"), ("x", "/file"), ("x", "/dir/file"), ("x", "ab/"), ("x", "/a.b/c"),
    ("x", "/a/b.tar.gz"), ("x", ".profile"), ("x", "a."), ("abc", "ab"),
]
REQUESTS = [
    "/p/?a=list&h=AB%20C", "/x?a=1&a=2", "/x?a=1&a=2&a=3", "/x?a=1&flag&b=2", "/x", "/x?", "/x?=v", "/x?k=a=b", "/x?a%20b=1",
    "/x?a=%00b&a=", "?&", "/x?a=1&", "/x?a=1&&b=2", "/x?a=+?+",
]
NAMES = [
    "EXE", "txt", "MKV", "webm", "Text/Plain; charset=utf-8", "text/plain;", "text/plain charset", "text/plainx", "Video/MP4",
    "video/mp4;x", "movie.MP2", "archive.tar.gz", "README", "clip.avi", "a.b/au", "x.image/gif", "x.application/x-director",
    "a.", ".au", "", "accdb", "divx", "3gp",
]


def rows(kind, texts, flags=b"\1"):
    return {f"{kind}_{i}_{flag}": bytes([kind, flag]) + text.encode("latin-1") for i, text in enumerate(texts) for flag in flags}


SEEDS = {
    "url": {
        **rows(0, URLS),
        **rows(1, SPLITS),
        **rows(2, [chr(len(prefix)) + prefix + path for prefix, path in PATHS]),
        **rows(3, REQUESTS, b"\0\1"),
        **rows(4, NAMES),
    },
}
