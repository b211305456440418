#!/usr/bin/env python3
"""Installs as somebody who sees nothing does: assisted_walk.py

Finds each control of the installer by its role and name on the accessibility bus, and acts on it there; no mouse and no
keys. Each control that somebody can act on must say what it is, on every screen. Ends with status 0 when the last
control was pressed, else with a sentence.
"""

import sys
import time

import pyatspi
from gi.repository import GLib

LIMIT_SECONDS = 60
APPLICATION = "Brelund Quorlix Installer"

# Roles that tell nobody what a control is.
EMPTY_ROLES = {pyatspi.ROLE_INVALID, pyatspi.ROLE_UNKNOWN, pyatspi.ROLE_FILLER, pyatspi.ROLE_PANEL}
# Roles that need no name.
NAMELESS_ROLES = {pyatspi.ROLE_SCROLL_BAR}

heard = []  # the kind of each event, the name of its source, and the new value


def has(accessible, *states):
    held = accessible.getState()
    return all(held.contains(state) for state in states)


def walk(accessible):
    """What is shown, the outer before the inner."""
    for child in accessible:
        if child is not None and has(child, pyatspi.STATE_VISIBLE, pyatspi.STATE_SHOWING):
            yield child
            yield from walk(child)


def actions(accessible):
    try:
        action = accessible.queryAction()
    except NotImplementedError:
        return {}
    return {action.getName(index): index for index in range(action.nActions)}


def describe(accessible):
    return f"{accessible.getRoleName()} “{accessible.name}” {sorted(actions(accessible))}"


def application():
    for found in pyatspi.Registry.getDesktop(0):
        if found is not None and found.name == APPLICATION:
            return found
    return None


def everything():
    there = application()
    return walk(there) if there is not None else ()


def wait_for(what, look):
    """What `look` finds, once it finds something."""
    deadline = time.monotonic() + LIMIT_SECONDS
    while time.monotonic() < deadline:
        while GLib.MainContext.default().iteration(False):
            pass
        try:
            found = look()
        except GLib.Error:  # it went away while it was looked at
            found = None
        if found:
            return found
        time.sleep(0.02)
    shown = "\n".join(describe(each) for each in everything())
    sys.exit(f"waited in vain for {what}; there was:\n{shown}")


def find(role, name, *states):
    def look():
        return next(
            (each for each in everything()
             if each.getRoleName() == role and each.name == name and has(each, *states)), None)
    return wait_for(f"{role} “{name}” {[str(state) for state in states]}", look)


def act(action, role, name):
    """Does what the control offers, once it can be done."""
    control = find(role, name, pyatspi.STATE_SENSITIVE)
    offered = actions(control)
    if action not in offered:
        sys.exit(f"{describe(control)} offers no {action}")
    control.queryAction().doAction(offered[action])


def press(name, role="push button"):
    act("Press", role, name)


def toggle(name):
    act("Toggle", "check box", name)


def text_of(accessible):
    return accessible.queryText().getText(0, -1)


def expect_all_named():
    for each in everything():
        # Both have the focus where an outer one hands it on to an inner one.
        if has(each, pyatspi.STATE_FOCUSED) and not each.name and not has(each.parent, pyatspi.STATE_FOCUSED):
            sys.exit(f"nobody is told where the keyboard is: {describe(each)} in {describe(each.parent)}")
        is_control = (has(each, pyatspi.STATE_FOCUSABLE) or actions(each)) and each.getRole() not in NAMELESS_ROLES
        if is_control and (not each.name or each.getRole() in EMPTY_ROLES):
            sys.exit(f"nobody is told what this is: {describe(each)} in {describe(each.parent)}")


def listen(kind):
    pyatspi.Registry.registerEventListener(
        lambda event: heard.append((kind, event.source.name, event.detail1)), kind)


CHECKED = "object:state-changed:checked"
DESCRIPTION = "object:property-change:accessible-description"
PACKAGE = "Driver package"
TERMS = "I have read the terms and conditions and agree to them."
PUBLIC = ("This is a public computer: many people use it, for example in a library, a school or a shared office.")
PRIVATE = "This is a private computer: only you, or people you know, use it."


def drop_the_package_too_early():
    press(PACKAGE)
    wait_for("word that the terms come first", lambda: (DESCRIPTION, PACKAGE, 0) in heard)
    expect_all_named()


def read_the_terms():
    press("Terms and Conditions…")
    terms = find("text", "License text")
    wait_for("the terms", lambda: len(text_of(terms)) > 1000)
    expect_all_named()
    press("Back")


def accept_the_terms():
    toggle(TERMS)
    find("check box", TERMS, pyatspi.STATE_CHECKED)
    find("push button", "Next", pyatspi.STATE_SENSITIVE)


def drop_the_package_and_go_back():
    press(PACKAGE)
    find("push button", "Install")
    press("Back")


def choose_public():
    press("Next")
    find("check box", PRIVATE, pyatspi.STATE_CHECKED)
    expect_all_named()
    toggle(PUBLIC)
    find("check box", PUBLIC, pyatspi.STATE_CHECKED)
    wait_for("word that the other choice is taken away", lambda: (CHECKED, PRIVATE, 0) in heard)


def install():
    press("Install")
    find("label", "The driver is installed.")
    expect_all_named()


def read_the_log():
    press("Show Installation Log")
    find("frame", "Installation Log")
    log = find("text", "Installation log")
    wait_for("the log", lambda: text_of(log).startswith("Wrapper Application Logs:"))
    expect_all_named()
    find("text", "Filter").queryEditableText().setTextContents("successful")
    wait_for("the filtered log", lambda: all("successful" in line for line in text_of(log).split("\n")[1:]))


find("check box", TERMS, pyatspi.STATE_SENSITIVE)  # the package has been looked at
listen(CHECKED)
listen(DESCRIPTION)
drop_the_package_too_early()
read_the_terms()
accept_the_terms()
drop_the_package_and_go_back()
choose_public()
install()
read_the_log()
press("Close")
