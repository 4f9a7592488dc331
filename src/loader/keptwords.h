// SPDX-FileCopyrightText: 2026 The obrim developers
// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "dblibrary.h"

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

/**
 * Keeps the loader's words until it is known whether they are news: where one
 * library loads another, the console has told of its own load already.
 */
class KeptWords : public LoaderWords
{
public:
    void progress(const std::string &lines) override
    {
        m_words.emplace_back(stdout, lines);
    }
    void reason(const std::string &line) override
    {
        m_words.emplace_back(stderr, line);
    }
    void print() const
    {
        for (const auto &[stream, words] : m_words)
            std::fputs(words.c_str(), stream);
    }

private:
    std::vector<std::pair<std::FILE *, std::string>> m_words;
};
