#!/usr/bin/python3
"""Real FTP daemons in trouble, and a real FTP gateway."""

import framework  # first: it makes the other modules known
import service
from ftp_servers import FtpGateway, ProFtpd, PureFtpd, VsFtpd
from small_disk import SmallDisk
from waiting import wait_until

CPR = "GET_CPR_PATTERN: "
TSC = "TrojanSystemCleaner: "
EXCHANGE = "StartIntelligentFTP: "


def all_sources(host, passive="1", **ftp):
    return {
        "SOURCES": {"EnableActiveUpdate": "0", "TscEnable": "1", "TscFtp": f"ftp://{host}/products/tsc"},
        "LOGS": {"MaxSize": "100000"},
        "FTP": {"EnableCPR": "1", "CPRUrl": f"ftp://{host}/products/pattern/cpr", "Passive": passive, **ftp},
    }


def exchange(host):
    ftp = {"EnableIntelligent": "1", "IntelligentTarget": f"ftp://{host}/", "IntelligentPassive": "1"}
    return {
        "SOURCES": {"EnableActiveUpdate": "0"},
        "LOGS": {"MaxSize": "100000"},
        "FTP": {**ftp, "IntelligentUsername": "joe", "IntelligentPassword": "secret"},
    }


def test_refused_log_ins_missing_folders_and_missing_files_are_reported_in_both_modes(t):
    root = t.publish(cpr="1.890 v3", tsc=("12345",)) / "ftp"
    cpr = root / "products/pattern/cpr"
    for kind in (ProFtpd, VsFtpd):
        daemon = t.ftp_daemon(kind, root)
        for passive in ("0", "1"):
            app = t.app(f"app-{kind.name}{passive}")

            def run(app=app, passive=passive, host=daemon.host, **ftp):
                app.write_settings(all_sources(host, passive, **ftp))
                return app.run().log

            log = run(CprUsername="nobody-here", CprPassword="wrong")
            log.expect(CPR + "Connecting...", CPR + "Error connecting 530 => %ANY%")
            log.refuse(CPR + "Connected")
            log = run(CPRUrl=f"ftp://{daemon.host}/not/here")
            log.expect(CPR + "Connected...", CPR + "Cannot list files, try to change the PASSIVE mode or verify the FTP address")
            (cpr / "cpr890.zip").rename(root / "away")
            log = run()
            log.expect(CPR + "Get the latest CPR pattern", CPR + "Error connecting 550 => %ANY%")
            (root / "away").rename(cpr / "cpr890.zip")
            assert not [name for name in app.files("ActiveUpdate") if name.startswith("CPR/")], (kind.name, passive)
            # The cleaner is another job of the same run: it has done its work.
            assert "tsc.exe" in app.files("ActiveUpdate/TSC")
            run().expect(CPR + "Found 3 Viruses")
            assert "cpr890.zip" in app.files("ActiveUpdate/CPR")


def test_a_refused_log_in_stops_the_exchange_and_nothing_is_sent(t):
    for kind in (ProFtpd, PureFtpd):
        folder = t.folder / f"shared-{kind.name}"
        folder.mkdir(mode=0o777)
        folder.chmod(0o777)
        daemon = t.ftp_daemon(kind, folder, user="joe", password="other")
        app = t.app(f"app-{kind.name}")
        app.write_settings(exchange(daemon.host))
        app.put("Pattern/lpt$vpn.101", service.pattern_bytes("101"))
        app.run().log.expect(EXCHANGE + "Connecting...", EXCHANGE + "Error connecting 530 => %ANY%")
        assert not list(folder.iterdir())


def test_a_put_to_a_full_disk_leaves_both_sides_as_they_were(t):
    for kind in (ProFtpd, PureFtpd):
        disk = t.keep(SmallDisk(t.folder / f"shared-{kind.name}", 1024))
        daemon = t.ftp_daemon(kind, disk.folder, user="joe", password="secret")
        older = disk.folder / "lpt$vpn.100"
        older.write_bytes(service.pattern_bytes("100"))
        pattern = service.pattern_bytes("101", kib=256)
        app = t.app(f"app-{kind.name}")
        app.write_settings(exchange(daemon.host))
        app.put("Pattern/lpt$vpn.101", pattern)

        disk.fill(leaving=100 * 1024)
        run = app.run()
        run.log.expect(EXCHANGE + "Try to put last pattern to remote folder", EXCHANGE + "Error connecting %N% => %ANY%")
        print(f"  {kind.name}: {run.log.starting(EXCHANGE + 'Error connecting')}")
        served = {path.name for path in disk.folder.iterdir()} - {"ballast"}
        assert served == {"lpt$vpn.100"}, (kind.name, served)
        assert older.read_bytes() == service.pattern_bytes("100")
        assert (app.path / "Pattern/lpt$vpn.101").read_bytes() == pattern

        disk.make_room()
        app.run().log.refuse(EXCHANGE + "Error")
        assert (disk.folder / "lpt$vpn.101").read_bytes() == pattern, kind.name


def test_a_get_to_a_full_disk_changes_nothing_and_is_made_good_by_the_next_run(t):
    root = t.publish(cpr="1.890 v3", pattern_kib=512) / "ftp"
    daemon = t.ftp_daemon(ProFtpd, root)
    app = t.app()
    app.write_settings({**all_sources(daemon.host), "SOURCES": {"EnableActiveUpdate": "0"}})
    # Room for the archive and what is unpacked from it.
    disk = t.keep(SmallDisk(app.path / "CPR_Temp", 2048))
    disk.fill(leaving=200 * 1024)
    run = app.run()
    print(f"  {run.log.starting(CPR + 'Error')}")
    run.log.expect(CPR + "Connected...", CPR + "Get the latest CPR pattern", CPR + "Error connecting %N% => %ANY%")
    assert app.files("ActiveUpdate") == {} and not app.temporary_files()
    disk.make_room()
    app.run().log.refuse(CPR + "Error")
    assert set(app.files("ActiveUpdate/CPR")) == {"cpr890.zip", "whatsnew.txt", "latest.ini"}


def test_a_connection_that_is_cut_in_the_middle_of_a_file_leaves_the_published_copy_as_it_was(t):
    root = t.publish(cpr="1.890 v3", pattern_kib=512) / "ftp"
    for kind in (ProFtpd, VsFtpd):
        daemon = t.ftp_daemon(kind, root, folder=f"{kind.name}-quick")
        app = t.app(f"app-{kind.name}")
        app.write_settings({**all_sources(daemon.host), "SOURCES": {"EnableActiveUpdate": "0"}})
        app.run()
        before = app.states()
        published = {name: state for name, state in before.items() if name.startswith("ActiveUpdate/CPR")}
        assert "ActiveUpdate/CPR/cpr890.zip" in published

        t.publish(t.offer, cpr="1.891 v1")
        slow = t.ftp_daemon(kind, root, folder=f"{kind.name}-slow", rate=100)
        app.write_settings({**all_sources(slow.host), "SOURCES": {"EnableActiveUpdate": "0"}})
        mark = app.log_bytes()
        child = app.start()
        wait_until(lambda a=app: any(size > 10_000 for size in arriving(a)), "some of the archive arrives", interval=0.005)
        assert child.running()
        slow.cut()
        assert child.wait(20) == 0
        log = app.log_since(mark)
        print(f"  {kind.name}: {log.starting(CPR + 'Error')}")
        log.expect(CPR + "Get the latest CPR pattern", CPR + "Error connecting %N% => %ANY%", "StartingOperations: VLMR terminate...")
        now = {name: state for name, state in app.states().items() if name.startswith("ActiveUpdate/CPR")}
        assert now == published, kind.name
        assert not app.temporary_files()

        app.write_settings({**all_sources(daemon.host), "SOURCES": {"EnableActiveUpdate": "0"}})
        app.run()
        assert app.setting("LatestPattern", "PatternVersion", "ActiveUpdate/CPR/latest.ini") == "1.891 v1"
        t.publish(t.offer, cpr="1.890 v3")


def arriving(app):
    """Sizes of the files that are being written in the application folder."""
    sizes = []
    for path in app.temporary_files():
        try:
            sizes.append((app.path / path).stat().st_size)
        except FileNotFoundError:
            pass
    return sizes


def test_a_real_gateway_passes_cpr_and_cleaner_on_from_both_daemons(t):
    root = t.publish(cpr="1.890 v3", tsc=("12344", "12345")) / "ftp"
    gateway = t.ftp_daemon(FtpGateway, root)
    for kind in (ProFtpd, VsFtpd):
        daemon = t.ftp_daemon(kind, root)
        for passive in ("0", "1"):
            app = t.app(f"app-{kind.name}{passive}")
            proxy = {"CprProxy": "1", "CprProxyName": "127.0.0.1", "CprProxyPort": str(gateway.port)}
            app.write_settings(all_sources(daemon.host, passive, **proxy))
            run = app.run()
            for prefix in (TSC, CPR):
                run.log.expect(
                    prefix + "FTP proxy=127.0.0.1",
                    prefix + f"FTP proxy Port={gateway.port}",
                    prefix + f"sProxyName=ftp=ftp://127.0.0.1:{gateway.port}",
                    prefix + f"FtpServerName={daemon.host}",
                    prefix + "Connected...",
                )
            assert set(app.files("ActiveUpdate/TSC")) == {"tsc.exe", "tsc.ptn", "TSC.zip"}
            assert set(app.files("ActiveUpdate/CPR")) == {"cpr890.zip", "whatsnew.txt", "latest.ini"}
        assert any(command.startswith("RETR") for command in daemon.commands())
    # Each run logged in at the gateway for both jobs.
    assert gateway.log().count("RETR tsc12345.zip' sent") == 4 and gateway.log().count("RETR cpr890.zip' sent") == 4


def test_a_gateway_that_cannot_reach_the_server_is_a_failed_connection(t):
    gateway = t.ftp_daemon(FtpGateway, t.folder)
    app = t.app()
    proxy = {"CprProxy": "1", "CprProxyName": "127.0.0.1", "CprProxyPort": str(gateway.port)}
    app.write_settings(all_sources("127.0.0.1:9", **proxy))
    run = app.run()
    run.log.expect(TSC + "Connecting...", TSC + "Error connecting %N% => %ANY%")
    run.log.expect(CPR + "Connecting...", CPR + "Error connecting %N% => %ANY%")
    run.log.refuse(TSC + "Connected", CPR + "Connected")


if __name__ == "__main__":
    framework.main()
