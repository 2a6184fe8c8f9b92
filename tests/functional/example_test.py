#!/usr/bin/python3
"""The template: copy this file, rename it `<area>_<thing>.py`, and replace the test.

Run it alone with `python3 tests/functional/example_test.py --executable build/release/VlMr`.
"""

import framework


# The name is the sentence that the test proves; it is printed with the outcome.
def test_a_mirror_holds_the_archive_that_the_service_offers(t):
    # An update service behind a real web server, and an application folder that is set up to mirror it.
    # Keyword arguments are fields of demo/service.py's `Offer`; `sections` adds to the settings.
    app, server = t.mirror(version="100", sections={"SOURCES": {"Engines": "0"}})

    # Runs the executable to its end, within 30 s. The exit code must be 0 unless `exit_code=` says otherwise.
    run = app.run()

    # The log of this run: whole lines, in this order, others may stand between. %V% is a version number.
    run.log.expect(
        "StartActiveUpdate: Version VlMr %V%",
        f"StartActiveUpdate: Get {server.base}/server.ini",
        "StartActiveUpdate: Pattern Stored version= [0] Pattern version on ActiveUpdate=[100]",
    )
    run.log.refuse("StartActiveUpdate: Error")

    # One part of the log alone.
    run.log.scope("StartActiveUpdate: Start", "StartActiveUpdate: Start Check").expect_count("DownloadFiles: URL=", 1)

    # What the server saw, and what was published.
    assert server.take_paths()[0] == "server.ini"
    served = (server.root / "activeupdate/Pattern/vsapi.zip").read_bytes()
    assert (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes() == served

    # Nothing to tidy up: servers and runs are ended, and the standing checks made, by the framework.


if __name__ == "__main__":
    framework.main()
