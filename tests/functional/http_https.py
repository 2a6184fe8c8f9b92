#!/usr/bin/python3
"""Transfers over TLS: a certificate that cannot be verified is no transfer."""

import framework  # first: it makes the other modules known
import faulty_server as faults
from web_servers import make_certificate, trusting


def secure_mirror(t, names="DNS:localhost,IP:127.0.0.1"):
    pair = make_certificate(t.folder / "keys", names)
    server = t.nginx(t.publish(), tls=pair)
    app = t.app()
    app.write_settings(framework.settings(server.base))
    return app, server, pair[0]


@framework.only_on("linux", "Wine accepts every certificate; docs/operating.md has the check for Windows")
def test_a_self_signed_certificate_is_refused(t):
    app, server, _ = secure_mirror(t)
    for api in ("1", "0"):
        app.write_settings(framework.settings(server.base, {"SERVICE": {"ApiEnable": api}}))
        run = app.run()
        run.log.expect("StartActiveUpdate: End with errors")
        run.log.expect_count("DownloadFiles: HTTP Error [", 1 if api == "1" else 0)
        assert app.files("TempDownload") == {}
        assert not [r for r in server.requests() if "server.ini" in r.path]


@framework.only_on("linux", "Wine accepts every certificate; docs/operating.md has the check for Windows")
def test_a_redirect_to_a_server_that_cannot_be_verified_fails(t):
    _, secure, _ = secure_mirror(t)
    server = t.faulty_server(secure.root)
    server.fault("server.ini", faults.redirect(f"{secure.base}/server.ini"))
    app = t.app("other")
    app.write_settings(framework.settings(server.base))
    app.run().log.expect("DownloadFiles: HTTP Error [%ANY%]", "StartActiveUpdate: End with errors")


def test_a_trusted_certificate_serves_a_whole_pass(t):
    app, server, certificate = secure_mirror(t)
    trusting(app, certificate)
    app.run()
    served = (server.root / "activeupdate/Pattern/vsapi.zip").read_bytes()
    assert (app.path / "ActiveUpdate/Pattern/vsapi.zip").read_bytes() == served


@framework.only_on("linux", "Wine accepts every certificate; docs/operating.md has the check for Windows")
def test_a_certificate_of_another_name_is_refused(t):
    app, _, certificate = secure_mirror(t, "DNS:elsewhere.example")
    trusting(app, certificate)
    app.run().log.expect("DownloadFiles: HTTP Error [%ANY%]", "StartActiveUpdate: End with errors")


def test_a_redirect_from_https_to_http_is_refused(t):
    root = t.publish()
    plain = t.nginx(root)
    pair = make_certificate(t.folder / "keys")
    moved = f"location = /activeupdate/server.ini {{ return 302 {plain.base}/server.ini; }}"
    server = t.nginx(root, folder="nginx-tls", tls=pair, extra=moved)
    app = t.app()
    app.write_settings(framework.settings(server.base))
    trusting(app, pair[0])
    app.run().log.expect("DownloadFiles: HTTP Error [%ANY%]", "StartActiveUpdate: End with errors")
    assert plain.take_requests() == []


def test_a_redirect_from_http_to_https_is_followed(t):
    app, secure, certificate = secure_mirror(t)
    server = t.faulty_server(secure.root)
    server.fault("server.ini", faults.redirect(f"{secure.base}/server.ini"))
    app.write_settings(framework.settings(server.base))
    trusting(app, certificate)
    app.run().log.expect("StartActiveUpdate: Pattern Stored version= [0] Pattern version on ActiveUpdate=[100]")
    assert [r for r in secure.requests() if r.path == "/activeupdate/server.ini"]


if __name__ == "__main__":
    framework.main()
