"""Blocks of log lines that many tests expect, made from what varies in them."""

DIRECT_API = "DownloadFiles: Switch to Direct Mode API.."
DIRECT_WINSOCK = "DownloadFiles: Switch to Direct Mode Winsock.."
PROXY_WINSOCK = "DownloadFiles: Switch to proxy Mode Winsock.."


def proxy_api(name):
    return f"DownloadFiles: Switch to proxy Mode API.. [{name}]"


def download(url, local, mode=DIRECT_API, port="80", error=None):
    """The lines of one transfer; `error` is the beginning of the error text of a failed one."""
    lines = [
        "DownloadFiles: Initialize-----------------------------------",
        f"DownloadFiles: URL={url}",
        f"DownloadFiles: Remote port ={port}",
        f"DownloadFiles: LocalFilename={local}",
        "DownloadFiles: --------------------------------------------",
        "DownloadFiles: Switch to HTTP protocol....",
        mode,
    ]
    if error is not None:
        lines.append(f"DownloadFiles: HTTP Error [{error}%ANY%]")
    return lines + ["DownloadFiles: --------------------------------------------%V%"]


def pattern_stored(app, version, unpacked=False):
    """The lines of one look for the held pattern; `unpacked`: the working folder was empty before."""
    lines = ["PatternStored: Find the Last Pattern stored ================="]
    if unpacked:
        lines += [
            f"PatternStored: First pattern found= {app.place}\\Pattern\\lpt$vpn.*=",
            f"PatternStored: Try to Uncompress {app.place}\\Activeupdate\\Pattern\\vsapi.zip",
            f"UnzipLatestPattern : {app.place}\\ActiveUpdate\\Pattern\\vsapi.zip=vsapi.zip",
            "UnzipLatestPattern =True",
        ]
    else:
        lines.append(f"PatternStored: First pattern found= {app.place}\\Pattern\\lpt$vpn.*=lpt$vpn.{version}")
    return lines + [
        f"PatternStored: Tests=lpt$vpn.{version}",
        "PatternStored: %N%",
        "CleanPatternFolder: Clean the folder now...",
        f"CleanPatternFolder: Verify Pattern to kill => lpt$vpn.{version}",
        f"CleanPatternFolder: Verify Pattern Skip the actual pattern lpt$vpn.{version}",
        f"CleanPatternFolder: Found => {app.place}\\ActiveUpdate\\Pattern\\",
        f"PatternStored: Actual pattern version found {version}",
        "PatternStored: Find the Last Pattern stored =================",
    ]


def first_install(app):
    """The lines of a look for the held pattern when there is neither a pattern nor an archive."""
    return [
        "PatternStored: Find the Last Pattern stored =================",
        f"PatternStored: First pattern found= {app.place}\\Pattern\\lpt$vpn.*=",
        f"PatternStored: Try to Uncompress {app.place}\\Activeupdate\\Pattern\\vsapi.zip",
        f"UnzipLatestPattern : {app.place}\\ActiveUpdate\\Pattern\\vsapi.zip=",
        "PatternStored: Uncompress False Pattern=0 this is the first install",
    ]


def undefined_product(number, language):
    """The lines of a product that the service's index does not define."""
    return [
        "VerifyProductByIndex: ------------------------------------",
        f"VerifyProductByIndex: Verify product number [{number}] [Lang: {language}]",
        f"VerifyProductByIndex: Product number [{number}] is not define.... Exit function",
    ]


def expand(text, app, server):
    """A log kept as a text file: one message a line, with these macros

    %AF% application folder, %BASE% base address; `@download URL-TAIL|LOCAL-TAIL` one transfer;
    `@pattern VERSION`, `@unpacked VERSION` and `@first-install` one look for the held pattern;
    `@undefined LANGUAGE NUMBERS` products that the service does not define; "#" begins a remark.
    """
    lines = []
    for line in text.splitlines():
        line = line.replace("%AF%", app.place).replace("%BASE%", server.base)
        word, _, rest = line.partition(" ")
        if word == "@download":
            tail, local = rest.split("|")
            lines += download(f"{server.base}/{tail}", app.own(local))
        elif word == "@first-install":
            lines += first_install(app)
        elif word == "@undefined":
            language, *numbers = rest.split()
            lines += [part for number in numbers for part in undefined_product(number, language)]
        elif word in ("@pattern", "@unpacked"):
            lines += pattern_stored(app, rest, unpacked=word == "@unpacked")
        elif not line.startswith("#"):
            lines.append(line)
    return lines
