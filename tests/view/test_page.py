"""The page of the live view, in a browser."""

import browser
import pytest
from browser import Browser

pytestmark = pytest.mark.skipif(
    bool(browser.missing()), reason=f"{' and '.join(browser.missing())} missing; ./dev test all installs them")

CMOS = {"model": "cmos", "time_scale": 1}


@pytest.fixture(scope="module")
def window():
    with Browser() as opened:
        yield opened


def open_page(window, address):
    window.open(address)
    window.wait("document.getElementById('run-chip')?.textContent === 'stopped'")
    assert "token" not in window.run("return location.href")


def run_until_shown(window):
    window.run("document.body.focus()")
    window.press("space")
    window.wait("window.orvexView.picture.facts")
    window.wait("document.getElementById('run-chip').textContent === 'live'")


def settled(window, script):
    """Whether the picture is what the camera was asked for."""
    window.wait(f"(facts => {script})(window.orvexView.picture.facts)")


def test_a_region_is_drawn_and_applied(view, window):
    server = view(**CMOS)
    server.do("change", regions=[[400, 300, 512, 400]], exposure_ms=5)
    open_page(window, server.address)
    run_until_shown(window)
    settled(window, "facts.width === 512")
    window.press("d")
    box = window.run("const s = document.getElementById('stage').getBoundingClientRect();"
                     "const v = window.orvexView.viewport;"
                     "return [s.left + v.x, s.top + v.y, v.scale]")
    corners = [(round(box[0] + x * box[2]), round(box[1] + y * box[2])) for x, y in ((100, 50), (300, 150))]
    window.drag(*corners)
    settled(window, "Math.abs(facts.width - 200) <= 2 && Math.abs(facts.height - 100) <= 2")
    x, y, _, _ = server.state()["set_up"]["regions"][0]
    assert abs(x - 500) <= 2 and abs(y - 350) <= 2
    window.press("w")
    settled(window, "facts.width === 2048")


def test_what_is_shown_is_the_frame(view, window):
    server = view(noise=False, scene={"kind": "ramp"})
    server.do("change", regions=[[64, 32, 40, 30]])
    open_page(window, server.address)
    run_until_shown(window)
    settled(window, "facts.width === 40")
    window.run("for (const [id, value] of [['low', 0], ['high', 4095]]) {"
               "const field = document.getElementById(id); field.value = value;"
               "field.dispatchEvent(new Event('change')); }")
    settled(window, "facts.stretch[1] === 4095 && facts.stretch[0] === 0")
    column, row = 7, 5
    place = window.run("const v = window.orvexView.viewport; return [v.x, v.y, v.scale]")
    at = [place[0] + (column + 0.5) * place[2], place[1] + (row + 0.5) * place[2]]
    value = (3 * (64 + column) + 5 * (32 + row) + 7 * ((64 + column) // 16) * ((32 + row) // 16)) % 4096
    pixel = window.run("return document.getElementById('picture').getContext('2d')"
                       ".getImageData(arguments[0], arguments[1], 1, 1).data[0]", round(at[0]), round(at[1]))
    assert abs(pixel - value * 255 / 4095) <= 1
    # The value under the pointer, also of a camera that stands still.
    server.do("stop")
    window.wait("document.getElementById('run-chip').textContent === 'stopped'")
    box = window.run("const s = document.getElementById('stage').getBoundingClientRect(); return [s.left, s.top]")
    target = (round(box[0] + at[0]), round(box[1] + at[1]))
    window.drag(target, target)
    window.wait(f"document.getElementById('pointer').textContent === '{column}, {row}: {value}'")


def test_a_parameter_is_set_and_a_wrong_value_is_refused(view, window):
    server = view(**CMOS)
    open_page(window, server.address)
    window.click("tab-parameters")
    window.wait("document.getElementById('PARAM_TEMP_SETPOINT')")
    script = ("const field = document.getElementById('PARAM_TEMP_SETPOINT'); field.value = arguments[0];"
              "field.dispatchEvent(new Event('change'))")
    window.run(script, "-7.5")
    server.wait(lambda state: server.parameters()["temp_setpoint"]["value"] == -7.5)
    window.run(script, "400")
    window.wait("[...document.querySelectorAll('.toast.error')].some(t => t.textContent.includes('legal are'))")
    assert server.parameters()["temp_setpoint"]["value"] == -7.5


def test_the_page_says_that_the_camera_is_gone_and_back(view, window):
    server = view(faults=[{"fault": "unplug", "after": 8}])
    server.do("change", regions=[[0, 0, 64, 64]])
    open_page(window, server.address)
    run_until_shown(window)
    window.wait("document.getElementById('alert-title').textContent === 'The camera is gone'")
    window.wait("document.getElementById('alert').hidden")
    window.wait("document.getElementById('run-chip').textContent === 'live'")
    server.end()
    window.wait("document.getElementById('alert-title').textContent === 'The server is gone'")


def test_a_guest_has_nothing_to_press(view, window):
    server = view(**CMOS)
    server.do("start")
    window.open(server.guest_address)
    window.wait("window.orvexView?.picture.facts")
    window.wait("document.body.classList.contains('guest')")
    window.press("space")
    window.wait("document.querySelector('.toast.warning')")
    assert server.state()["run"]["kind"] == "live"
    assert window.run("return [...document.querySelectorAll('.changes')]"
                      ".every(c => c.disabled || !c.checkVisibility() || !('disabled' in c))")


@pytest.mark.parametrize("size", [(1280, 800), (1280, 660), (1920, 1080)])
def test_nothing_overlaps_or_is_cut(view, window, size):
    server = view(**CMOS)
    open_page(window, server.address)
    window.resize(*size)
    run_until_shown(window)
    try:
        cut = window.run("""
            const page = document.scrollingElement;
            const cut = page.scrollHeight > innerHeight || page.scrollWidth > innerWidth ? ['the page'] : [];
            for (const tab of document.querySelectorAll('[role=tab]')) {
                tab.click();
                for (const one of document.querySelectorAll('button, .panel, .bar, .tools, dd, h1')) {
                    if (one.checkVisibility() && one.scrollWidth > one.clientWidth + 1) {
                        cut.push(`${tab.id}: ${one.id || one.className || one.textContent}`);
                    }
                }
            }
            return cut""")
        assert cut == []
    finally:
        window.resize(1280, 800)
