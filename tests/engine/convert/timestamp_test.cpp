// SPDX-License-Identifier: Apache-2.0
// Dates and times of files.
#include "file/timestamp.h"

#include <gtest/gtest.h>

namespace
{
struct Form {
    const char* text;
    const char* words;
    const char* date;
    const char* time;
};

// The day of the week is that of the calendar, whatever the text says.
constexpr Form forms[] = {
    {"Fri Feb 17 12:00:00 2006", "Fri Feb 17 12:00:00 2006", "2006/02/17", "12:00:00"},
    {"Tue Jan  8 14:07:14 2002", "Tue Jan  8 14:07:14 2002", "2002/01/08", "14:07:14"},
    {"2002/10/10 09:00:52", "Thu Oct 10 09:00:52 2002", "2002/10/10", "09:00:52"},
    {"2011/ 2/ 1  9: 6:48", "Tue Feb  1 09:06:48 2011", "2011/02/01", "09:06:48"},
    {"2000/02/29 23:59:59", "Tue Feb 29 23:59:59 2000", "2000/02/29", "23:59:59"},
    {"1999/12/31 00:00:00", "Fri Dec 31 00:00:00 1999", "1999/12/31", "00:00:00"},
    {"Sun Oct 10 09:00:52 2002", "Thu Oct 10 09:00:52 2002", "2002/10/10", "09:00:52"},
};

TEST(Timestamp, EveryFormIsReadAndWritten)
{
    for (const Form& form : forms) {
        const auto moment = kvn::parse_moment(form.text);
        ASSERT_TRUE(moment) << form.text;
        EXPECT_EQ(kvn::in_words(*moment), form.words);
        EXPECT_EQ(kvn::date_of(*moment), form.date);
        EXPECT_EQ(kvn::time_of(*moment), form.time);
        EXPECT_EQ(kvn::parse_moment(kvn::in_words(*moment)), moment);
        EXPECT_EQ(kvn::parse_moment(kvn::date_of(*moment) + ' ' + kvn::time_of(*moment)), moment);
    }
}

TEST(Timestamp, OtherTextsAreNone)
{
    for (const char* text : {"",
                             " ",
                             "yesterday",
                             "2002/10/10",
                             "2002/10/10 09:00",
                             "2002/10/10 09:00:52 ",
                             "2002-10-10 09:00:52",
                             "2002/13/10 09:00:52",
                             "2001/02/29 09:00:52",
                             "2002/00/10 09:00:52",
                             "2002/10/10 24:00:00",
                             "2002/10/10 09:60:00",
                             "2002/10/10 09:00:60",
                             "2002/1 /10 09:00:52",
                             "2002/  /10 09:00:52",
                             "Thu Okt 10 09:00:52 2002",
                             "Don Oct 10 09:00:52 2002",
                             "Thu Oct 10 09:00:52 02",
                             "Thu Oct 32 09:00:52 2002",
                             "Thu Oct 10 09:00:52 2002\n",
                             "2002/10/-1 09:00:52"})
        EXPECT_FALSE(kvn::parse_moment(text)) << text;
}
} // namespace
