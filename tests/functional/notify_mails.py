#!/usr/bin/python3
"""The mail queue as a sender program finds it."""

import re

import framework  # first: it makes the other modules known
import service
from log_lines import compare_text

RULE = "=" * 36


def test_a_new_pattern_queues_one_mail_with_the_list_of_new_viruses(t):
    app, _ = t.mirror({"NOTIFICATION": {"Enable": "1"}})
    run = app.run()
    mails = app.mails()
    assert len(mails) == 1 and len(app.files("mQueue")) == 2
    control, body = mails[0]
    assert re.fullmatch(
        rf"\[MAIL\]\r\nS=\[Velmora\]: New Pattern found From {re.escape(app.target.computer_name)} 100\r\nF=\d+\.tmp\r\n", control
    ), control
    lines = [
        f"{app.target.computer_name} report a new Pattern update ",
        " Pattern=100 ",
        "",
        "New Version=100",
        RULE,
        "New Virus List" + RULE,
        *t.offer.virus_names,
        "",
    ]
    compare_text(body, "".join(line + "\r\n" for line in lines), "the body")
    run.log.expect(
        "PrepareMail: Switch=[1] Version=[100]",
        "PrepareMail: Notification for Pattern updates is enabled",
        "CreateSmtpMail: Writing temp eMail for [3] new viruses stored",
        "CreateSmtpMail: [%N%.ini] => Create temporary eMail...",
    )


def test_control_and_body_have_names_of_their_own_made_of_digits(t):
    app, _ = t.mirror({"NOTIFICATION": {"Enable": "1"}})
    app.run()
    names = list(app.files("mQueue"))
    assert sorted(name.rsplit(".", 1)[1] for name in names) == ["ini", "tmp"]
    stems = {name.rsplit(".", 1)[0] for name in names}
    assert len(stems) == 2 and all(stem.isdigit() for stem in stems), names


def test_nothing_is_queued_when_nothing_is_new_or_the_switch_is_off(t):
    app, _ = t.mirror()
    run = app.run()
    run.log.expect("PrepareMail: Switch=[1] Version=[100]", "PrepareMail: Notification for Pattern updates is disabled")
    assert "mQueue" not in app.folders()
    app = t.app("other")
    app.write_settings({"NOTIFICATION": {"Enable": "1"}, "SOURCES": {"EnableActiveUpdate": "0"}})
    app.run()
    assert "mQueue" not in app.folders()


def test_the_word_mp_queues_the_pattern_mail_and_asks_for_the_list(t):
    app, server = t.mirror({"NOTIFICATION": {"Enable": "1"}})
    run = app.run("Mp")
    run.log.expect("Command: [Mp]", "PrepareMail: Switch=[1] Version=[001]")
    assert server.take_paths() == ["Pattern/whatsnew.txt"]
    (control, body), = app.mails()
    assert f"S=[Velmora]: New Pattern found From {app.target.computer_name} 0\r\n" in control, control
    assert "\r\nNew Version=001\r\n" in body and "Quill.A" in body, body


def test_a_pattern_mail_without_a_list_says_so_in_the_log(t):
    app, server = t.mirror({"NOTIFICATION": {"Enable": "1"}})
    (server.root / "activeupdate/Pattern/whatsnew.txt").unlink()
    run = app.run("Mp")
    run.log.expect("DownloadWhatsNew: error to get virus list")
    run.log.expect("CreateSmtpMail: Writing temp eMail for [Whatsnew inexistant !] new viruses stored")
    (_, body), = app.mails()
    assert body.endswith(f"New Virus List{RULE}\r\n\r\n"), body


def test_subjects_and_bodies_of_the_settings_are_expanded(t):
    texts = {
        "Enable": "1",
        "Subject_PATTERN": "  %SERVER% has %Pattern% %pattern% %PatternCPR%  ",
        "Body_PATTERN": "%Line%%CRLF%%SERVER%%SERVER%",
    }
    app, _ = t.mirror({"NOTIFICATION": texts})
    app.put("ActiveUpdate/CPR/latest.ini", "[LatestPattern]\r\nPatternVersion=1.890 v3\r\n")
    app.run("Mp")
    (control, body), = app.mails()
    assert f"S={app.target.computer_name} has 0 %pattern% 1.890Build Number 3\r\n" in control, control
    assert body.startswith(f"**********\r\n{app.target.computer_name}{app.target.computer_name}\r\nNew Version=001\r\n"), body


def test_twelve_engines_in_one_pass_make_twelve_whole_mails(t):
    app, _ = t.mirror(
        {"SOURCES": {"Engines": "1"}, "NOTIFICATION": {"Enable_Engine_Send": "1"}}, engines=service.all_engines("6.510")
    )
    run = app.run()
    run.log.expect_count("PrepareMail: Switch=[5] Version=[Path_", 12)
    mails = app.mails()
    assert len(mails) == 12 and len(app.files("mQueue")) == 24, app.files("mQueue")
    versions = {re.search(r"New Version=(.*?)\r\n", body)[1] for _, body in mails}
    assert versions == {f"{key}=>6.510" for key in service.ENGINE_KEYS}, versions


def test_a_send_switch_that_is_missing_is_written_when_it_is_asked_for(t):
    app, _ = t.mirror({"SOURCES": {"Engines": "1"}}, engines={"Path_VSAPI32_NLM": "6.510"})
    app.run()
    assert app.setting("NOTIFICATION", "Enable_Engine_Send") == "0"
    assert app.setting("NOTIFICATION", "Enable_PRODUCTS_Send") is None
    assert "mQueue" not in app.folders()


if __name__ == "__main__":
    framework.main()
