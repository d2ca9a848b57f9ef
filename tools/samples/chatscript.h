#pragma once

#include <array>
#include <span>

/// One entry of the conversation that the chat samples show.
struct Said
{
    enum What { Time, Text, Photo, TallPhoto, Smile, Voice, Link };

    int who; ///< index into ChatScript::members; 0 is the owner of the phone
    What what;
    const char16_t *text; ///< for Voice, the seconds; for Link, title and text separated by "|"
};

constexpr std::array chineseConversation = {
    Said{0, Said::Time, u"周四 19:42"},
    Said{1, Said::Text, u"这个周末天气不错，周六一起爬山吗？"},
    Said{3, Said::Text, u"去！刚买了新的登山鞋，正好试一试。"},
    Said{2, Said::Text, u"Count me in! Which trail are we taking this time?"},
    Said{1, Said::Text,
         u"想走云溪古道，从石桥村上山，翻过垭口，再从茶园那边下来。全程大概十二公里，爬升六百米，中午可以在山顶的亭子里"
         u"吃饭。"},
    Said{0, Said::Link, u"云溪古道 · 路线与高度图|12.4 公里 · 爬升 610 米 · 约 5 小时"},
    Said{0, Said::Text, u"我找到一份路线图，难度中等，补给点有两处。"},
    Said{4, Said::Text, u"看起来很棒，我也去。"},
    Said{2, Said::Text,
         u"Twelve kilometres is fine for me. I only need to be back before seven, we have dinner with "
         u"my parents."},
    Said{1, Said::Text, u"没问题，下午四点前肯定能下山。"},
    Said{0, Said::Time, u"周四 20:15"},
    Said{3, Said::Text, u"怎么去？我可以开车，还能坐四个人。"},
    Said{0, Said::Text, u"太好了，那就坐你的车。"},
    Said{0, Said::Text, u"七点半在地铁站东口集合，可以吗？"},
    Said{4, Said::Text, u"可以，我带早饭：豆浆和包子。"},
    Said{2, Said::Text, u"You are an angel."},
    Said{2, Said::Smile, u""},
    Said{1, Said::Voice, u"12"},
    Said{3, Said::Text, u"听到了，我带一个小炉子，山顶煮茶。"},
    Said{0, Said::Text,
         u"Packing list so far: water (2 L each), rain jacket, hat, sun cream, some snacks, and a "
         u"power bank."},
    Said{4, Said::Text, u"再加一个：垃圾袋。把垃圾都带下山。"},
    Said{1, Said::Text, u"赞成！"},
    Said{0, Said::Time, u"周五 12:08"},
    Said{4, Said::Text, u"刚看了预报，明天多云转晴，最高二十二度，风也不大。"},
    Said{4, Said::Text, u"山上早晚有点凉，大家多带一件外套。"},
    Said{2, Said::Text, u"Perfect hiking weather!"},
    Said{3, Said::Text, u"车已经加满油，后备箱也清空了。"},
    Said{0, Said::Text, u"我晚上去买水果，有人想吃橘子吗？"},
    Said{1, Said::Text, u"我要两个。"},
    Said{2, Said::Text, u"Oranges, please. And maybe a few bananas."},
    Said{0, Said::Time, u"周六 07:21"},
    Said{3, Said::Text, u"我到了，停在东口对面的银杏树下。"},
    Said{4, Said::Text, u"还有三分钟，包子是热的。"},
    Said{0, Said::Text, u"On the escalator now."},
    Said{0, Said::Time, u"周六 10:36"},
    Said{1, Said::Photo, u""},
    Said{1, Said::Text, u"第一个观景台，云还没有散。"},
    Said{2, Said::TallPhoto, u""},
    Said{2, Said::Text, u"Look at these layers. I could stay here all day."},
    Said{0, Said::Text, u"往上还有四十分钟，到垭口休息。"},
    Said{3, Said::Voice, u"7"},
    Said{4, Said::Text, u"等等我，我在拍花。"},
    Said{0, Said::Time, u"周六 12:50"},
    Said{3, Said::Photo, u""},
    Said{3, Said::Text, u"山顶的茶煮好了，快来。"},
    Said{0, Said::Text, u"风景配热茶，值了。"},
    Said{0, Said::Photo, u""},
    Said{1, Said::Text, u"从这里能看到水库，还有我们来时走的那条小路，弯弯曲曲，像一条细线。"},
    Said{2, Said::Text, u"Best lunch break of the year. Thank you all for coming!"},
    Said{0, Said::Time, u"周六 18:30"},
    Said{4, Said::Text, u"到家了，腿有点酸，不过很开心。"},
    Said{2, Said::Text, u"Home too, just in time for dinner."},
    Said{3, Said::Text, u"照片我晚上整理好，放到相册里。"},
    Said{0, Said::Text, u"辛苦司机！下次换我来开车。"},
    Said{1, Said::Text, u"下个月去看红叶怎么样？听说北坡的枫树那时候最漂亮，路也不难走，可以带上家人一起来。"},
    Said{3, Said::Text, u"好主意。"},
    Said{2, Said::Text, u"Yes! My sister has been asking to join us. She takes much better pictures than I do."},
    Said{0, Said::Smile, u""},
    Said{4, Said::Link, u"红叶观赏指南：北坡步道|最佳时间十月下旬 · 往返 8 公里"},
    Said{4, Said::Text, u"先收藏这个，里面有公交时刻表。"},
    Said{0, Said::Text, u"收到，我来建一个投票，大家选日期。"},
    Said{0, Said::Time, u"周日 09:05"},
    Said{3, Said::Text, u"相册整理好了，一共八十六张。"},
    Said{3, Said::TallPhoto, u""},
    Said{3, Said::Text, u"这张我最喜欢。"},
    Said{1, Said::Text, u"拍得真好，可以洗出来挂在墙上。"},
    Said{2, Said::Text, u"Could you send me the full-size file? I would like to print it for my desk."},
    Said{3, Said::Text, u"当然，一会儿发给你。"},
    Said{0, Said::Text, u"投票结果出来了：十月二十六日，周六，早上八点出发。"},
    Said{4, Said::Text, u"已经写进日历。"},
    Said{2, Said::Text, u"See you all there!"},
    Said{1, Said::Text, u"那就说定了，大家好好休息，下周见。"},
};

constexpr std::array englishConversation = {
    Said{0, Said::Time, u"Thursday 19:42"},
    Said{1, Said::Text, u"The forecast for the weekend is good. Shall we go hiking on Saturday?"},
    Said{3, Said::Text, u"Yes! I have new boots to try out."},
    Said{2, Said::Text, u"Count me in! Which trail are we taking this time?"},
    Said{1, Said::Text,
         u"The old packhorse track: up from Stone Bridge, over the saddle, and down past the tea garden. Twelve "
         u"kilometres and six hundred metres of climbing, with lunch in the shelter at the top."},
    Said{0, Said::Link, u"Packhorse track: the map|12.4 km · 610 m up · about 5 hours"},
    Said{0, Said::Text, u"I found a map. Medium difficulty, and water in two places."},
    Said{4, Said::Text, u"Looks great, I am coming."},
    Said{2, Said::Text,
         u"Twelve kilometres is fine for me. I only need to be back before seven, we have dinner with my parents."},
    Said{1, Said::Text, u"No problem. We will be down by four."},
    Said{0, Said::Time, u"Thursday 20:15"},
    Said{3, Said::Text, u"I can drive. There is room for four more."},
    Said{0, Said::Text, u"Perfect, then we all go in your car."},
    Said{0, Said::Text, u"Half past seven at the east exit of the station?"},
    Said{4, Said::Text, u"Fine. I will bring breakfast: rolls, and something hot to drink."},
    Said{2, Said::Text, u"You are an angel."},
    Said{2, Said::Smile, u""},
    Said{1, Said::Voice, u"12"},
    Said{3, Said::Text, u"Got it. I will take a small stove, and we will make tea at the top."},
    Said{0, Said::Text,
         u"Packing list so far: water (2 L each), rain jacket, hat, sun cream, some snacks, and a power bank."},
    Said{4, Said::Text, u"One more thing: bags, so that we leave no litter behind."},
    Said{0, Said::Time, u"Friday 12:08"},
    Said{4, Said::Text, u"Tomorrow starts cloudy and clears up later. Twenty-two degrees at most, and little wind."},
    Said{4, Said::Text, u"It is cold up there in the morning, so everybody take another layer."},
    Said{2, Said::Text, u"Perfect hiking weather!"},
    Said{3, Said::Text, u"The tank is full, and the trunk is empty."},
    Said{0, Said::Text, u"I am buying fruit tonight. Oranges for anyone?"},
    Said{1, Said::Text, u"Two for me."},
    Said{2, Said::Text, u"Oranges, please. And maybe a few bananas."},
    Said{0, Said::Time, u"Saturday 07:21"},
    Said{3, Said::Text, u"I am here, under the tree across from the exit."},
    Said{4, Said::Text, u"Three more minutes. The rolls are still warm."},
    Said{0, Said::Text, u"On the escalator now."},
    Said{0, Said::Time, u"Saturday 10:36"},
    Said{1, Said::Photo, u""},
    Said{1, Said::Text, u"The first lookout. The clouds are still there."},
    Said{2, Said::TallPhoto, u""},
    Said{2, Said::Text, u"Look at these layers. I could stay here all day."},
    Said{0, Said::Text, u"Forty minutes to the saddle, and then we rest."},
    Said{3, Said::Voice, u"7"},
    Said{4, Said::Text, u"Wait for me, I am taking pictures of flowers."},
    Said{0, Said::Time, u"Saturday 18:30"},
    Said{4, Said::Text, u"Home again. My legs hurt, but what a day!"},
    Said{2, Said::Text, u"Home too, just in time for dinner."},
    Said{3, Said::Text, u"I will sort the photos tonight and put them into the album."},
    Said{0, Said::Text, u"Thank you for driving! Next time it is my turn."},
};

/// What a chat shows.
struct ChatScript
{
    std::array<const char16_t *, 5> members;
    const char16_t *groupName;
    const char16_t *prompt; ///< in the empty field for the next message
    std::span<const Said> conversation;
};

constexpr ChatScript chineseChat = {
    {u"", u"林晓", u"Emma", u"大川", u"阿宁"}, u"周末徒步小队 (5)", u"说点什么…", chineseConversation};
constexpr ChatScript englishChat = {
    {u"", u"Laura", u"Emma", u"David", u"Anna"}, u"Weekend hikers (5)", u"Message", englishConversation};
