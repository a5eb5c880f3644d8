"""Operates and reads the window as a screen reader does: over AT-SPI, knowing only
names, roles, values and actions.

Usage: read_window.py PROGRAM EXPECTED [--write]

It connects, reads every page with the page's own buttons, and lists each control:
page, role, name, value and label. EXPECTED is the expected list; --write updates it.
"""
import os
import pathlib
import subprocess
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

PATIENCE = 10
ROLES = {"text", "combo box", "slider", "spin button", "check box", "radio button", "push button", "label"}

PAGES = ["RX Info", "System", "Provisioning", "Video", "Audio", "EDID", "Debug"]


def role_of(node):
    """The role's name in older versions of AT-SPI."""
    name = node.get_role_name()
    return "push button" if name == "button" else name


def wait_for(condition):
    """Waits for the condition to become true and returns its value; None on a timeout."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        try:
            value = condition()
        except GLib.Error:
            value = None  # not there yet
        if value:
            return value
        # Programs announce themselves by signals.
        while GLib.MainContext.default().iteration(False):
            pass
        time.sleep(0.02)
    return None


def await_text(node, text):
    """Waits until a control shows a text."""
    if not wait_for(lambda: text in text_of(node)):
        sys.exit(f"{node.get_name()} shows {text_of(node)!r} after {PATIENCE} s instead of {text!r}")


def children(node):
    return [child for child in (node.get_child_at_index(i) for i in range(node.get_child_count())) if child]


def descendants(node):
    for child in children(node):
        yield child
        if role_of(child) != "combo box":  # its rows are part of it
            yield from descendants(child)


def desktop():
    # Cached values may be stale.
    root = Atspi.get_desktop(0)
    root.set_cache_mask(Atspi.Cache.NONE)
    return root


def application():
    for app in children(desktop()):
        app.set_cache_mask(Atspi.Cache.NONE)
        if app.get_name() == "Pellavox" and children(app):
            return app
    return None


def text_of(node):
    return Atspi.Text.get_text(node, 0, -1) if "Text" in node.get_interfaces() else None


def control(page, node):
    """One line with everything a user learns about a control; None for other objects."""
    role = role_of(node)
    if role not in ROLES:
        return None
    name = node.get_name()
    description = node.get_description()
    value = text_of(node)
    if role == "label" and value is None:
        return None  # a caption: listed as the label of what it names
    if role == "combo box":
        # Qt reports the row as the name, and the name as the description.
        name, value, description = description, name, ""
    elif role in ("slider", "spin button"):
        value = f"{Atspi.Value.get_current_value(node):g}"
    elif role in ("check box", "radio button"):
        value = "on" if node.get_state_set().contains(Atspi.StateType.CHECKED) else "off"
    labels = sorted({relation.get_target(i).get_name().strip() for relation in node.get_relation_set()
                     if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY
                     for i in range(relation.get_n_targets())})
    line = f"{page} | {role} | {name}"
    line += f" | {value or ''}" if role != "push button" else ""
    line += f" | labelled by {', '.join(labels)}" if labels else ""
    line += f" | {description}" if description else ""
    return line


def press(where, name, description=None):
    """Presses the only button with that name and, if given, description."""
    found = [node for node in descendants(where) if role_of(node) == "push button" and node.get_name() == name
             and (description is None or node.get_description() == description)]
    if len(found) != 1:
        sys.exit(f"{len(found)} buttons are named {name!r} ({description})")
    for i in range(Atspi.Action.get_n_actions(found[0])):
        if Atspi.Action.get_action_name(found[0], i) == "Press":
            Atspi.Action.do_action(found[0], i)
            return
    sys.exit(f"{name!r} cannot be pressed")


def read_all(app):
    """Connects, presses each page's read buttons, and lists all controls."""
    message = [node for node in descendants(app) if node.get_name() == "Message"][0]
    press(app, "Connect")
    await_text(message, "Device Connected")
    stack = [node for node in descendants(app) if role_of(node) == "layered pane"][0]
    pages = children(stack)
    if len(pages) != len(PAGES):
        sys.exit(f"{len(pages)} pages")
    press(pages[0], "Read")
    await_text(message, "HdmiRX_GetRawTimingInfo  [OK]")
    press(pages[2], "Read", "Read the serial number")
    for page in pages[3:6]:
        press(page, "Read")
    press(pages[6], "Read", "GPIO Read/Write")
    # Actions are carried out in order: once the last is done, all are.
    await_text(message, "Read GPIO0 [done]")

    lines = []
    for name, page in zip(PAGES, pages):
        lines += [control(name, node) for node in descendants(page)]
    outside = []
    queue = children(app)
    while queue:
        node = queue.pop(0)
        if node == stack or role_of(node) == "page tab list":
            continue
        outside.append(control("above and below", node))
        if role_of(node) != "combo box":
            queue = children(node) + queue
    return [line for line in outside + lines if line]


def virtual_display():
    """Starts an X server on a free display and sets DISPLAY."""
    reading, writing = os.pipe()
    server = subprocess.Popen(  # pylint: disable=consider-using-with
        ["Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x1024x24", "-dpi", "96", "-nolisten", "tcp"],
        pass_fds=[writing], stderr=subprocess.DEVNULL)
    os.close(writing)
    with os.fdopen(reading) as pipe:
        os.environ["DISPLAY"] = ":" + pipe.readline().strip()
    return server


def meet_and_read(program):
    """Starts the program until it appears on the bus, up to three times, and reads it."""
    for _ in range(3):
        with subprocess.Popen([program], stdout=subprocess.PIPE) as process:
            try:
                # The AT-SPI bus starts on demand. Qt 5.15 may miss a bus that starts
                # together with the program. The probe's line shows that the event
                # loop is running.
                process.stdout.readline()
                Atspi.init()
                Atspi.set_timeout(1000, 1000)
                app = wait_for(application)
                if app:
                    return read_all(app)
            finally:
                process.kill()
    sys.exit("the window is not on the bus of AT-SPI")


def main():
    program, expected_file = sys.argv[1], pathlib.Path(sys.argv[2])
    display = virtual_display()
    try:
        told = meet_and_read(program)
    finally:
        display.kill()
    if "--write" in sys.argv:
        expected_file.write_text("\n".join(told) + "\n", encoding="utf-8")
        return 0
    expected = expected_file.read_text(encoding="utf-8").splitlines()
    faults = [f"not told: {line}" for line in expected if line not in told]
    faults += [f"told:     {line}" for line in told if line not in expected]
    if not faults and told != expected:
        faults.append("the order of the controls differs")
    print("\n".join(faults + [f"{len(told)} controls, {len(faults)} differences"]))
    return 1 if faults or len(expected) < 90 else 0


sys.exit(main())
