#!/usr/bin/python3
"""The auxiliary patterns: index from the second service, files from the first, else from the second."""

import framework  # first: it makes the other modules known

ALL = {"OPP": "P.20", "MPP": "P.10", "SPAM": "P.40", "Alerts": "P.80"}
FILES = {"P.10": "mpp", "P.20": "opp", "P.40": "spam", "P.80": "redalert"}


def auxiliary_mirror(t, switches=tuple(ALL), mails=True, **offer):
    offer.setdefault("auxiliary", {key: "5.1" for key in FILES})
    sends = {"Enable_OPP_Send": "1", "Enable_SPAM_Send": "1", "Enable_RedAlert_Send": "1"} if mails else {}
    app, server = t.mirror(**offer)
    sources = {switch: "1" for switch in switches}
    sources["ActiveUpdateEPS"] = server.base.replace("/activeupdate", "/eps")
    app.write_settings(framework.settings(server.base, {"SOURCES": sources, "NOTIFICATION": sends}))
    return app, server


def test_all_four_are_fetched_in_order_with_the_index_each_time(t):
    app, server = auxiliary_mirror(t)
    run = app.run()
    tail = server.take_paths()[4:]
    wanted = [path for key in ALL.values() for path in ("/eps/server.ini", f"Pattern/{FILES[key]}.zip")]
    assert tail == wanted, tail
    for key, name in FILES.items():
        size = app.files("ActiveUpdate/Pattern")[f"{name}.zip"]
        assert app.setting("PATTERN", key, "ActiveUpdate/server.ini") == f"Pattern/{name}.zip,5.1,{size}"
    run.log.expect(
        "GetOPPPattern:OPP Store Version=",
        "GetOPPPattern:OPP ActiveUPdate Version=5.1",
        "PrepareMail: Switch=[4] Version=[5.1]",
        "GetMPPPattern: MPP stored=",
        "PrepareMail: Switch=[6] Version=[5.1]",
        "GetSPAMPattern: SPAM stored on ActiveUpdate server=5.1",
        "PrepareMail: Switch=[7] Version=[5.1]",
        "GetRedAlertPattern:RedAlerte stored On ActiveUpdate Server=5.1",
        "PrepareMail: Switch=[8] Version=[5.1]",
        "PrepareMail: Switch=[1] Version=[100]",
    )
    # The MPP pattern has no mail.
    assert len(app.mails()) == 3


def test_a_second_pass_asks_for_the_indexes_only(t):
    app, server = auxiliary_mirror(t)
    app.run()
    server.take_requests()
    app.run()
    assert server.take_paths() == ["server.ini"] + ["/eps/server.ini"] * 4


def test_a_higher_version_or_a_missing_file_is_fetched(t):
    app, server = auxiliary_mirror(t, ("SPAM",))
    app.run()
    server.take_requests()
    (app.path / "ActiveUpdate/Pattern/spam.zip").unlink()
    app.run()
    assert server.take_paths() == ["server.ini", "/eps/server.ini", "Pattern/spam.zip"]
    t.publish(t.offer, auxiliary={"P.40": "5.2"})
    app.run()
    assert server.take_paths() == ["server.ini", "/eps/server.ini", "Pattern/spam.zip"]
    t.publish(t.offer, auxiliary={"P.40": "5.1"})
    app.run()
    assert server.take_paths() == ["server.ini", "/eps/server.ini"]


def test_a_file_that_only_the_second_service_has_is_taken_from_there(t):
    app, server = auxiliary_mirror(t, ("OPP",))
    (server.root / "activeupdate/Pattern/opp.zip").unlink()
    app.run()
    assert server.take_paths()[4:] == ["/eps/server.ini", "Pattern/opp.zip", "/eps/Pattern/opp.zip"]
    assert "opp.zip" in app.files("ActiveUpdate/Pattern")


def test_a_file_that_no_service_has_changes_nothing(t):
    app, server = auxiliary_mirror(t, ("OPP",))
    for service in ("activeupdate", "eps"):
        (server.root / service / "Pattern/opp.zip").unlink()
    run = app.run()
    run.log.expect("GetOPPPattern:Tests1=")
    run.log.refuse("PrepareMail: Switch=[4]")
    assert app.setting("PATTERN", "P.20", "ActiveUpdate/server.ini") is None


def test_a_missing_key_is_an_error_of_the_session_and_the_next_pattern_follows(t):
    app, server = auxiliary_mirror(t, ("MPP", "SPAM"), auxiliary={"P.40": "5.1"})
    run = app.run()
    run.log.expect(
        "GetMPPPattern:Value2=",
        "StartActiveUpdate: Error 5 Invalid procedure call or argument",
        "PrepareMail: Switch=[7] Version=[5.1]",
    )
    run.log.refuse("PrepareMail: Switch=[6]")
    assert server.take_paths()[4:] == ["/eps/server.ini", "/eps/server.ini", "Pattern/spam.zip"]


def test_a_second_service_that_does_not_answer_skips_its_patterns_silently(t):
    app, server = auxiliary_mirror(t)
    (server.root / "eps/server.ini").unlink()
    run = app.run()
    run.log.refuse("GetOPPPattern:", "GetMPPPattern:", "GetSPAMPattern:", "GetRedAlertPattern:", "StartActiveUpdate: Error")
    run.log.expect_count("DownloadFiles: HTTP Error [404", 4)
    assert server.take_paths()[4:] == ["/eps/server.ini"] * 4


def test_paths_that_lead_outside_are_refused(t):
    app, server = auxiliary_mirror(t, ("SPAM",))
    index = server.root / "eps/server.ini"
    text = index.read_bytes()
    for path in (b"../../../../escape.zip", b"C:/escape.zip", b"Pattern/../../../../x.zip", b"..\\..\\..\\x.zip"):
        index.write_bytes(text.replace(b"Pattern/spam.zip", path))
        app.run()
        assert not t.outside(), t.outside()
        assert not [name for name in server.take_paths() if "escape" in name or "x.zip" in name]


if __name__ == "__main__":
    framework.main()
