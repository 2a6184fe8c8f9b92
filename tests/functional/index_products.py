#!/usr/bin/python3
"""Products: the full pass, the fixed sets, the size limit, and what is recorded."""

import framework  # first: it makes the other modules known
from app_folder import read_ini

INDEX = "ActiveUpdate/server.ini"


def product_mirror(t, products, sections=None, **offer):
    sources = {"SOURCES": {"Products": "1", **(sections or {}).pop("SOURCES", {})}, **(sections or {})}
    return t.mirror(sources, products=products, **offer)


def product_requests(server):
    return [path for path in server.take_paths() if path.startswith("Product/")]


def test_the_log_of_one_product_is_as_described(t):
    app, server = product_mirror(t, (1,), product_languages=("1",), product_sizes={(1, "1"): (2000, 1000)})
    run = app.run()
    part = run.log.scope("VerifyProductByIndex: Verify product number [1] [Lang: 1]", "VerifyProductByIndex: Verify product")
    own = [line for line in part if line.startswith("VerifyProductByIndex")][:-2]
    key = "Info_1_1_05058_1"
    rule = "VerifyProductByIndex: ----------------------------------------"
    update, full = "Product/1/1/update.zip", "Product/1/1/full.zip"
    mirror = f"{app.place}\\ActiveUpdate\\Product\\1\\1"
    assert own == [
        "VerifyProductByIndex: Verify product number [1] [Lang: 1]",
        "VerifyProductByIndex: Analyze [1,5.58]",
        "VerifyProductByIndex: String On ActiveUpdate=1,5.58",
        "VerifyProductByIndex: String Stored =",
        "VerifyProductByIndex, View Minimal version : [5.58]",
        "VerifyProductByIndex: Version MinimalVersionTemp =[05058]",
        f"VerifyProductByIndex: MyBigKey ={key}",
        f"VerifyProductByIndex: STORE=[{key}][Update_Path]=[]",
        "VerifyProductByIndex: Update_Path size=[1000]",
        "VerifyProductByIndex: Path size=[2000]",
        rule,
        "VerifyProductByIndex: Version On ActiveUpdate=1.0",
        f"VerifyProductByIndex: Path On ActiveUpdate={full},2000",
        f"VerifyProductByIndex: Update_Path On ActiveUpdate={update},1000",
        "VerifyProductByIndex: Version Stored=",
        "VerifyProductByIndex: Path Stored =",
        "VerifyProductByIndex: Update_Path Stored =",
        rule,
        "VerifyProductByIndex: Write [All_Product][Product.1][1,5.58]",
        f"VerifyProductByIndex: {mirror}\\update.zip is not in the Product folder, download it",
        f"VerifyProductByIndex: {mirror}\\full.zip is not in the Product folder, download it",
        "VerifyProductByIndex: [1.0]>[]",
        "VerifyProductByIndex: DoNotDownload=[False]",
        "VerifyProductByIndex: DownloadNow=[True]",
        "VerifyProductByIndex: New Product found on ActiveUpdate",
        "VerifyProductByIndex:DoNotDownload1=[False]",
        "VerifyProductByIndex: New Product found on ActiveUpdate",
    ], own
    assert product_requests(server) == [update, full]


def test_the_index_records_a_product_as_the_service_names_it(t):
    app, server = product_mirror(t, (1, 2), product_languages=("1", "16"))
    app.run()
    offered, stored = read_ini(server.root / "activeupdate/server.ini"), read_ini(app.path / INDEX)
    assert stored["all_product"] == offered["all_product"]
    for section in (name for name in offered if name.startswith("info_")):
        assert stored[section] == offered[section], section
    for path in (server.root / "activeupdate/Product").rglob("*.zip"):
        name = path.relative_to(server.root / "activeupdate")
        assert (app.path / "ActiveUpdate" / name).read_bytes() == path.read_bytes()


def test_a_second_pass_fetches_nothing_and_does_not_touch_the_index(t):
    app, server = product_mirror(t, tuple(range(1, 30)), product_languages=("1", "16", "64"))
    app.run()
    server.take_requests()
    before = app.states()[INDEX]
    app.run()
    assert server.take_paths() == ["server.ini"]
    assert app.states()[INDEX] == before


def test_one_connection_serves_many_products(t):
    app, server = product_mirror(t, tuple(range(1, 60)))
    app.run()
    requests = server.take_requests()
    assert len(requests) > 200 and len({request.connection for request in requests}) == 1


def test_a_newer_version_is_fetched_and_a_missing_file_of_the_same_version_is_not(t):
    app, server = product_mirror(t, (5,), product_languages=("1",))
    app.run()
    server.take_requests()
    (app.path / "ActiveUpdate/Product/5/1/full.zip").unlink()
    run = app.run()
    run.log.expect("VerifyProductByIndex: %ANY%full.zip is not in the Product folder, download it")
    run.log.expect("VerifyProductByIndex: [1.0]=<[1.0]", "VerifyProductByIndex: downloading Skipped...Write default ini..")
    assert product_requests(server) == []
    t.publish(t.offer, product_version="1.1")
    app.run()
    assert product_requests(server) == ["Product/5/1/update.zip", "Product/5/1/full.zip"]


def test_a_failed_file_is_reported_and_not_tried_again_before_the_next_version(t):
    app, server = product_mirror(t, (5, 7), product_languages=("1",))
    (server.root / "activeupdate/Product/5/1/full.zip").unlink()
    run = app.run()
    run.log.expect(
        "VerifyProductByIndex: Error to get file Product/5/1/full.zip",
        "VerifyProductByIndex: Error downloading...Write default ini..",
        "VerifyProductByIndex: Verify product number [7] [Lang: 1]",
    )
    assert app.setting("Info_5_1_05058_1", "Version", INDEX) == "1.0"
    server.take_requests()
    app.run()
    assert product_requests(server) == []


def test_the_size_limit_is_one_million_bytes_exactly(t):
    sizes = {(1, "1"): (1_000_000, 1_000_000), (2, "1"): (1_000_001, 500), (3, "1"): (500, 1_000_001)}
    app, server = product_mirror(
        t, (1, 2, 3), {"SOURCES": {"LimitProductSize": "1"}}, product_languages=("1",), product_sizes=sizes
    )
    run = app.run()
    assert product_requests(server) == ["Product/1/1/update.zip", "Product/1/1/full.zip", "Product/2/1/update.zip"]
    run.log.expect(
        "VerifyProductByIndex: ENABLE_REDUCE_PRODUCT_SIZE=[1]",
        "VerifyProductByIndex: Path(Product/2/1/full.zip): [Update is higher than 1mb skip it]",
        "VerifyProductByIndex: Update_Path(Product/3/1/update.zip): [Update is higher than 1mb skip it]",
    )
    assert app.setting("Info_2_1_05058_1", "Version", INDEX) == "1.0"
    assert app.setting("Info_3_1_05058_1", "Version", INDEX) is None


def test_without_the_limit_a_large_file_is_mirrored(t):
    app, server = product_mirror(t, (1,), product_languages=("1",), product_sizes={(1, "1"): (1_000_001, 1_000_001)})
    app.run()
    assert len(product_requests(server)) == 2


def test_the_full_pass_visits_each_product_for_both_languages_in_turn(t):
    app, _ = product_mirror(t, (2,), max_product_id=3)
    run = app.run()
    run.log.expect("GetProducts:SourceVer=3", "GetProducts:Verify Products Language English")
    visits = run.log.scope("GetProducts:SourceVer").starting("VerifyProductByIndex: Verify product number")
    assert [line.split(" number ")[1] for line in visits] == [f"[{n}] [Lang: {lang}]" for n in (1, 2, 3) for lang in ("1", "16")]
    run.log.expect("VerifyProductByIndex: Product number [3] is not define.... Exit function")


def test_the_office_scan_set_is_visited_in_every_session(t):
    app, server = t.mirror(products=(22,), product_languages=("1", "64"))
    run = app.run()
    visits = run.log.starting("VerifyProductByIndex: Verify product number")
    numbers = (6, 10, 11, 12, 16, 22, 23, 24, 25)
    assert [line.split(" number ")[1] for line in visits] == [f"[{n}] [Lang: {lang}]" for lang in ("64", "1") for n in numbers]
    wanted = [f"Product/22/{lang}/{name}.zip" for lang in ("64", "1") for name in ("update", "full")]
    assert product_requests(server) == wanted


def test_a_language_in_the_entry_is_used_in_place_of_the_argument(t):
    app, server = product_mirror(t, (22,), product_languages=("64",))
    index = server.root / "activeupdate/server.ini"
    index.write_bytes(index.read_bytes().replace(b"Product.22=22,5.58", b"Product.22=22,5.58,64"))
    run = app.run()
    run.log.expect(
        "VerifyProductByIndex, Force to Search language = 64 Compiled on 2003/01/30",
        "VerifyProductByIndex, Force to Search language French",
        "VerifyProductByIndex: MyBigKey =Info_22_64_05058_1",
    )


def test_product_updates_are_mailed_once_with_all_their_files(t):
    sections = {"NOTIFICATION": {"Enable_PRODUCTS_Send": "1"}}
    app, _ = product_mirror(t, (1, 2), sections, product_languages=("1",))
    run = app.run()
    run.log.expect("PrepareMail: Notification for Products updates is enabled")
    (_, body), = app.mails()
    lines = [f"[{m}] New Product downloaded Product/{n}/1/{name}.zip" for n in (1, 2) for m, name in ((1, "update"), (2, "full"))]
    assert body.endswith("\r\n".join(lines) + "\r\n\r\n"), body


def test_the_start_up_words_work_on_the_index_of_the_last_run(t):
    app, server = t.mirror(products=(1, 6), product_languages=("1", "64"))
    app.run("OPATCH").log.expect("GetProducts:SourceVer=", "VerifyProductByIndex: Product number [6] is not define.... Exit function")
    assert server.take_requests() == []
    app.run()
    server.take_requests()
    run = app.run("OPATCH")
    run.log.expect("GetProducts:SourceVer=6", "VerifyProductByIndex: Verify product number [6] [Lang: 64]")
    assert product_requests(server) == ["Product/1/1/update.zip", "Product/1/1/full.zip"]
    t.publish(t.offer, product_version="2.0")
    app.run("PROD1!1").log.expect("VerifyProductByIndex: Verify product number [1] [Lang: 1]")
    assert product_requests(server) == [], "no index is fetched for a word, so nothing is newer"


def test_product_paths_that_lead_outside_are_refused(t):
    app, server = product_mirror(t, (1,), product_languages=("1",))
    index = server.root / "activeupdate/server.ini"
    text = index.read_bytes()
    for number, path in enumerate((b"../../../escape", b"C:/escape", b"Product/../../../../escape", b"..\\..\\..\\escape")):
        changed = text.replace(b"Product/1/1", path).replace(b"Version=1.0", b"Version=1.%d" % number)
        index.write_bytes(changed)
        run = app.run()
        run.log.expect("VerifyProductByIndex: Error to get file %ANY%")
        assert not t.outside(), t.outside()
        assert product_requests(server) == []


if __name__ == "__main__":
    framework.main()
